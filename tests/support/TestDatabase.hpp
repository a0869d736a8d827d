#pragma once

#include <Storage/Store.hpp>

#include <QTemporaryDir>
#include <QVariant>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A new database that goes away with the test, on each kind of server that the tests can reach: always SQLite; PostgreSQL where
/// TAVOLA_TEST_POSTGRES has the address of one.
class TestDatabase
{
public:
    enum class Kind { Sqlite, Postgres };
    [[nodiscard]] static std::vector<Kind> kinds();
    [[nodiscard]] static bool hasPostgres();
    /// Calls `test` with a new database of each kind, which is named beside a failure.
    static void onEach(const std::function<void(const TestDatabase& database)>& test);

    explicit TestDatabase(Kind kind);
    ~TestDatabase();
    TestDatabase(const TestDatabase&) = delete;
    TestDatabase& operator=(const TestDatabase&) = delete;

    [[nodiscard]] const Storage::Address& address() const { return m_address; }
    [[nodiscard]] std::string name() const { return m_address.shown().toStdString(); }
    /// Runs a statement as another program; returns the first value of its first row.
    QVariant execute(const QString& statement) const;

    /// A store on it; fails the test when it does not open.
    [[nodiscard]] std::unique_ptr<Storage::Store> store(const Storage::Schema& schema,
                                                        const Storage::Store::Settings& settings = {}) const;
    /// Why it does not open; fails the test when it does.
    [[nodiscard]] QString refusal(const Storage::Schema& schema, const Storage::Store::Settings& settings = {}) const;

private:
    QTemporaryDir m_folder;
    Storage::Address m_address;
};
