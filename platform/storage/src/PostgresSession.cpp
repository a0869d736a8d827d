#include "PostgresSession.hpp"

#include <QSqlDriver>
#include <QVariant>

#include <cstring>
#include <sys/socket.h>

namespace Storage
{
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
    return !known || PQstatus(known) == CONNECTION_BAD;
}

int PostgresSession::descriptor() const
{
    const PGconn* const known = connection();
    return known ? PQsocket(known) : -1;
}

PostgresSession::Answer PostgresSession::execute(const QByteArray& statements) const
{
    PGconn* const known = connection();
    PGresult* const result = known ? PQexec(known, statements.constData()) : nullptr;
    Answer answer;
    const ExecStatusType status = PQresultStatus(result);
    answer.isGood = status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
    answer.command = result ? QByteArray(PQcmdStatus(result)) : QByteArray();
    if (!answer.isGood) {
        answer.state = result ? QByteArray(PQresultErrorField(result, PG_DIAG_SQLSTATE)) : QByteArray();
        answer.error = known ? QString::fromUtf8(PQerrorMessage(known)).simplified() : QString();
    } else if (PQntuples(result) > 0) {
        answer.value = PQgetvalue(result, 0, 0);
    }
    PQclear(result);
    return answer;
}

bool PostgresSession::readNotifications(bool& hasOthers) const
{
    hasOthers = false;
    PGconn* const known = connection();
    if (!known || PQconsumeInput(known) == 0)
        return false;
    while (PGnotify* const notification = PQnotifies(known)) {
        hasOthers = hasOthers || notification->be_pid != PQbackendPID(known);
        PQfreemem(notification);
    }
    return PQstatus(known) != CONNECTION_BAD;
}

void PostgresSession::shutDown() const
{
    const int socket = descriptor();
    if (socket >= 0)
        ::shutdown(socket, SHUT_RDWR);
}
}
