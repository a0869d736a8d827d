#pragma once

#include <Bedrock/Export.hpp>
#include <Storage/Failure.hpp>

#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <functional>
#include <optional>

namespace Storage
{
class Connection;

/// What a job of a Store does to the database. Lives for one call of the job, on the store's thread.
///
/// After the first failure every call does nothing and fails, so a job need only check the last one. SQL that both databases
/// understand: "?" for values, ON CONFLICT, RETURNING; times are texts that the program makes. Each statement is a round trip to
/// the server, so many rows go into one: rows().
class TAVOLA_EXPORT Transaction
{
public:
    using RowHandler = std::function<void(const QSqlQuery& row)>;

    explicit Transaction(Connection& connection);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    /// Runs a statement with `values` for its "?", and calls `eachRow` for every row that it gives. A null QString is stored as
    /// the empty text. False when it fails, or when not all rows could be read.
    bool run(const QString& statement, const QVariantList& values = {}, const RowHandler& eachRow = {});
    /// "(?, ?), (?, ?)": the places of so many rows of so many values, for an INSERT. Both databases allow thousands of values.
    [[nodiscard]] static QString rows(int count, int valuesEach);
    /// How many rows the last statement changed; for one that has not failed.
    [[nodiscard]] int changedRows() const noexcept { return m_changedRows; }
    /// True until a statement fails.
    explicit operator bool() const noexcept { return !m_failure; }
    /// For one that has failed.
    [[nodiscard]] const Failure& failure() const { return *m_failure; }
    /// Whether a statement has changed rows.
    [[nodiscard]] bool hasChanged() const noexcept { return m_hasChanged; }

private:
    bool fail();

    Connection& m_connection;
    std::optional<Failure> m_failure;
    int m_changedRows = 0;
    bool m_hasChanged = false;
};
}
