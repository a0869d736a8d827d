#include "Connection.hpp"

#include "PostgresConnection.hpp"
#include "SqliteFileConnection.hpp"

#include <QVariant>

#include <atomic>

namespace Storage
{
namespace
{
/// A program has a few dozen statements; those of one that composes them while it runs are not all kept.
constexpr int kMostPrepared = 100;

QString newName()
{
    static std::atomic<int> counter{0};
    return QStringLiteral("storage-%1").arg(++counter);
}
}

std::unique_ptr<Connection> Connection::make(const Address& address, std::chrono::milliseconds deadline, bool listens)
{
    if (address.isPostgres())
        return std::make_unique<PostgresConnection>(address, deadline, listens);
    return std::make_unique<SqliteFileConnection>(address, deadline);
}

Connection::Connection(const QString& driver, const Address& address)
    : m_address(address), m_name(newName()), m_database(QSqlDatabase::addDatabase(driver, m_name))
{
}

Connection::~Connection()
{
    // The driver is destroyed before its queries: each of them would otherwise send a request to a server that may be gone.
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_name);
}

QSqlQuery* Connection::prepared(const QString& statement)
{
    const auto known = m_prepared.constFind(statement);
    if (known != m_prepared.constEnd())
        return known->get();
    auto query = std::make_shared<QSqlQuery>(m_database);
    query->setForwardOnly(!m_address.isPostgres());
    if (!query->prepare(statement)) {
        noteFault(query->lastError());
        return nullptr;
    }
    if (m_prepared.size() >= kMostPrepared)
        m_prepared.clear();
    return m_prepared.insert(statement, query)->get();
}

void Connection::rollBack()
{
    const Fault before = m_fault;
    (void)execute(QStringLiteral("ROLLBACK"));
    m_fault = before;
}

QVariant Connection::storable(const QVariant& value) const
{
    // Qt passes a null QString as NULL.
    return value.type() == QVariant::String && value.isNull() ? QVariant(QStringLiteral("")) : value;
}

bool Connection::askEnding(const QString&, Ending& ending)
{
    ending = Ending::Undone;
    return true;
}

bool Connection::runStatements(const Schema& schema, int found)
{
    for (const SchemaStatement& statement : schema.statements) {
        if (statement.since <= found)
            continue;
        const bool hasOwn = m_address.isPostgres() && statement.postgres;
        if (!execute(QString::fromUtf8(hasOwn ? statement.postgres : statement.text)))
            return false;
    }
    return true;
}

bool Connection::refuseNewer(const QString& place, QString& sentence)
{
    setFault({Fault::Kind::Statement, place + QStringLiteral(" was made by a newer version of this program"),
              QStringLiteral("use that one")});
    sentence = m_fault.failure().text();
    return false;
}
}
