#include "TestDatabase.hpp"

#include <doctest/doctest.h>

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <atomic>
#include <unistd.h>

using namespace Storage;

namespace
{
QString serverAddress()
{
    return qEnvironmentVariable("TAVOLA_TEST_POSTGRES");
}

QString newDatabaseName()
{
    static std::atomic<int> counter{0};
    return QStringLiteral("tavola_test_%1_%2").arg(::getpid()).arg(++counter);
}

QVariant executeAt(const Address& address, const QString& statement)
{
    QVariant value;
    {
        const QString driver = address.isPostgres() ? QStringLiteral("QPSQL") : QStringLiteral("QSQLITE");
        QSqlDatabase database = QSqlDatabase::addDatabase(driver, QStringLiteral("beside"));
        database.setDatabaseName(address.isPostgres() ? address.database : address.file);
        database.setHostName(address.host);
        database.setPort(address.port);
        database.setUserName(address.user);
        REQUIRE_MESSAGE(database.open(), database.lastError().text().toStdString());
        QSqlQuery query(database);
        REQUIRE_MESSAGE(query.exec(statement), query.lastError().text().toStdString());
        value = query.next() ? query.value(0) : QVariant();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("beside"));
    return value;
}
}

bool TestDatabase::hasPostgres()
{
    return !serverAddress().isEmpty();
}

std::vector<TestDatabase::Kind> TestDatabase::kinds()
{
    return hasPostgres() ? std::vector<Kind>{Kind::Sqlite, Kind::Postgres} : std::vector<Kind>{Kind::Sqlite};
}

void TestDatabase::onEach(const std::function<void(const TestDatabase& database)>& test)
{
    for (const Kind kind : kinds()) {
        const TestDatabase database(kind);
        CAPTURE(database.name());
        test(database);
    }
}

TestDatabase::TestDatabase(Kind kind)
{
    if (kind == Kind::Sqlite) {
        m_address.file = m_folder.filePath(QStringLiteral("boats.sqlite"));
        return;
    }
    const auto server = Address::parse(serverAddress());
    REQUIRE_MESSAGE(server, server.error().toStdString());
    m_address = *server;
    m_address.database = newDatabaseName();
    executeAt(*server, QStringLiteral("CREATE DATABASE ") + m_address.database);
}

TestDatabase::~TestDatabase()
{
    if (m_address.isPostgres())
        executeAt(*Address::parse(serverAddress()), QStringLiteral("DROP DATABASE %1 WITH (FORCE)").arg(m_address.database));
}

QVariant TestDatabase::execute(const QString& statement) const
{
    return executeAt(m_address, statement);
}

std::unique_ptr<Store> TestDatabase::store(const Schema& schema, const Store::Settings& settings) const
{
    auto opened = Store::open(m_address, schema, settings);
    REQUIRE_MESSAGE(opened, opened.error().toStdString());
    return std::move(*opened);
}

QString TestDatabase::refusal(const Schema& schema, const Store::Settings& settings) const
{
    const auto opened = Store::open(m_address, schema, settings);
    REQUIRE_FALSE(opened);
    return opened.error();
}
