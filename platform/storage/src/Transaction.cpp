#include "Storage/Transaction.hpp"

#include "Connection.hpp"

#include <QSqlError>

namespace Storage
{
Transaction::Transaction(Connection& connection) : m_connection(connection) {}

bool Transaction::run(const QString& statement, const QVariantList& values, const RowHandler& eachRow)
{
    if (m_failure)
        return false;
    QSqlQuery* const query = m_connection.prepared(statement);
    if (!query)
        return fail();
    for (const QVariant& value : values)
        query->addBindValue(m_connection.storable(value));
    if (!query->exec()) {
        m_connection.noteFault(query->lastError());
        return fail();
    }
    while (eachRow && query->next())
        eachRow(*query);
    if (query->lastError().isValid()) {
        m_connection.noteFault(query->lastError());
        return fail();
    }
    // For a SELECT the drivers count what was read.
    m_changedRows = statement.startsWith(QLatin1String("SELECT")) ? 0 : query->numRowsAffected();
    m_hasChanged = m_hasChanged || m_changedRows > 0;
    query->finish();
    return true;
}

QString Transaction::rows(int count, int valuesEach)
{
    const QString row = QLatin1Char('(') + QStringLiteral("?, ").repeated(valuesEach - 1) + QStringLiteral("?)");
    return (row + QStringLiteral(", ")).repeated(count - 1) + row;
}

bool Transaction::fail()
{
    m_failure = m_connection.fault().failure();
    return false;
}
}
