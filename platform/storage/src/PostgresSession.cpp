#include "PostgresSession.hpp"

#include <Bedrock/LateLibrary.hpp>

#include <QSqlDriver>
#include <QVariant>

#include <cstring>
#include <sys/socket.h>

namespace Storage
{
namespace
{
/// The functions of libpq, under their own names. Used with a connection only, for which Qt's driver has loaded the library.
struct Libpq
{
    Bedrock::LateLibrary library{"libpq.so.5"};
    decltype(&::PQbackendPID) PQbackendPID = library["PQbackendPID"];
    decltype(&::PQclear) PQclear = library["PQclear"];
    decltype(&::PQcmdStatus) PQcmdStatus = library["PQcmdStatus"];
    decltype(&::PQconsumeInput) PQconsumeInput = library["PQconsumeInput"];
    decltype(&::PQerrorMessage) PQerrorMessage = library["PQerrorMessage"];
    decltype(&::PQexec) PQexec = library["PQexec"];
    decltype(&::PQfreemem) PQfreemem = library["PQfreemem"];
    decltype(&::PQgetvalue) PQgetvalue = library["PQgetvalue"];
    decltype(&::PQnotifies) PQnotifies = library["PQnotifies"];
    decltype(&::PQntuples) PQntuples = library["PQntuples"];
    decltype(&::PQresultErrorField) PQresultErrorField = library["PQresultErrorField"];
    decltype(&::PQresultStatus) PQresultStatus = library["PQresultStatus"];
    decltype(&::PQsocket) PQsocket = library["PQsocket"];
    decltype(&::PQstatus) PQstatus = library["PQstatus"];
};

const Libpq& libpq()
{
    static const Libpq functions;
    return functions;
}
}

PGconn* PostgresSession::connection() const
{
    QVariant handle = m_driver.handle();
    if (!handle.isValid() || std::strcmp(handle.typeName(), "PGconn*") != 0)
        return nullptr;
    return *static_cast<PGconn**>(handle.data());
}

bool PostgresSession::isLost() const
{
    const PGconn* const known = connection();
    return !known || libpq().PQstatus(known) == CONNECTION_BAD;
}

int PostgresSession::descriptor() const
{
    const PGconn* const known = connection();
    return known ? libpq().PQsocket(known) : -1;
}

PostgresSession::Answer PostgresSession::execute(const QByteArray& statements) const
{
    PGconn* const known = connection();
    Answer answer;
    if (!known)
        return answer;
    PGresult* const result = libpq().PQexec(known, statements.constData());
    const ExecStatusType status = libpq().PQresultStatus(result);
    answer.isGood = status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
    answer.command = result ? QByteArray(libpq().PQcmdStatus(result)) : QByteArray();
    if (!answer.isGood) {
        answer.state = result ? QByteArray(libpq().PQresultErrorField(result, PG_DIAG_SQLSTATE)) : QByteArray();
        answer.error = QString::fromUtf8(libpq().PQerrorMessage(known)).simplified();
    } else if (libpq().PQntuples(result) > 0) {
        answer.value = libpq().PQgetvalue(result, 0, 0);
    }
    libpq().PQclear(result);
    return answer;
}

bool PostgresSession::readNotifications(bool& hasOthers) const
{
    hasOthers = false;
    PGconn* const known = connection();
    if (!known || libpq().PQconsumeInput(known) == 0)
        return false;
    while (PGnotify* const notification = libpq().PQnotifies(known)) {
        hasOthers = hasOthers || notification->be_pid != libpq().PQbackendPID(known);
        libpq().PQfreemem(notification);
    }
    return libpq().PQstatus(known) != CONNECTION_BAD;
}

void PostgresSession::shutDown() const
{
    const int socket = descriptor();
    if (socket >= 0)
        ::shutdown(socket, SHUT_RDWR);
}
}
