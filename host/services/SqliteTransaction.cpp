#include "SqliteTransaction.hpp"

#include <QSqlError>

#include <utility>

namespace Host
{
SqliteTransaction::SqliteTransaction(const QString& path, Kind kind, Report report)
    : m_report(std::move(report)), m_connection(path), m_query(m_connection.database())
{
    if (!m_connection.isOpen()) {
        fail(m_connection.database().lastError());
        return;
    }
    m_query.setForwardOnly(true);
    m_isOpen = m_query.exec(kind == Kind::Write ? QStringLiteral("BEGIN IMMEDIATE") : QStringLiteral("BEGIN"));
    if (!m_isOpen)
        fail(m_query.lastError());
}

SqliteTransaction::~SqliteTransaction()
{
    m_query.finish();
    if (m_isOpen)
        m_query.exec(QStringLiteral("ROLLBACK"));
}

bool SqliteTransaction::run(const QString& statement, std::initializer_list<QVariant> values, const RowHandler& eachRow)
{
    if (!*this)
        return false;
    // A statement that is repeated is prepared once.
    if (m_query.lastQuery() != statement && !m_query.prepare(statement))
        return fail(m_query.lastError());
    for (const QVariant& value : values) {
        // Qt passes a null QString as NULL.
        const bool isAbsent = value.type() == QVariant::String && value.isNull();
        m_query.addBindValue(isAbsent ? QVariant(QStringLiteral("")) : value);
    }
    if (!m_query.exec())
        return fail(m_query.lastError());
    while (eachRow && m_query.next())
        eachRow(m_query);
    return !m_query.lastError().isValid() || fail(m_query.lastError());
}

bool SqliteTransaction::commit()
{
    if (!*this)
        return false;
    m_query.finish();
    if (!m_query.exec(QStringLiteral("COMMIT")))
        return fail(m_query.lastError());
    m_isOpen = false;
    return true;
}

bool SqliteTransaction::fail(const QSqlError& error)
{
    m_hasFailed = true;
    m_remedy = sqliteRemedy(error);
    if (m_report)
        m_report(error.text().simplified(), m_remedy);
    return false;
}
}
