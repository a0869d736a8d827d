// Writing commands of many clients against bare SQLite transactions of the same statements and the same batch.

#include "Rows.hpp"

#include "items/ItemStore.hpp"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>

#include <condition_variable>
#include <mutex>

namespace
{
constexpr int kClients = 64;
constexpr int kCommandsEach = 50;

MediaServer::Item item(int client, int number)
{
    return {0, MediaServer::ItemKind::Url, QStringLiteral("https://museum.example/%1/%2").arg(client).arg(number),
            QStringLiteral("Thing"), QStringLiteral("Undefined")};
}

/// Each client gives its next command when the last one is acknowledged.
class Clients
{
public:
    explicit Clients(MediaServer::ItemStore& store) : m_store(store) {}

    void run()
    {
        for (int client = 0; client < kClients; ++client)
            give(client, 0);
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_finished == kClients; });
    }

private:
    void give(int client, int number)
    {
        m_store.post(
            MediaServer::ItemStore::Kind::Write,
            [client, number](MediaServer::Items& items) {
                if (items.hasRoom(client, item(client, number), 1000))
                    items.add(client, item(client, number));
            },
            [this, client, number](const MediaServer::Result<void>& outcome) {
                if (!outcome)
                    Bench::fail(outcome.error());
                if (number + 1 < kCommandsEach)
                    return give(client, number + 1);
                const std::lock_guard<std::mutex> guard(m_mutex);
                ++m_finished;
                m_changed.notify_one();
            });
    }

    MediaServer::ItemStore& m_store;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_finished = 0;
};

double throughStore()
{
    const QTemporaryDir folder;
    const auto store = MediaServer::ItemStore::open(folder.filePath(QStringLiteral("pages.sqlite")), std::chrono::minutes(1));
    if (!store)
        Bench::fail(store.error());
    return Bench::seconds([&] { Clients(**store).run(); });
}

void run(QSqlQuery& query, const QVariantList& values)
{
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec())
        Bench::fail(query.lastQuery());
}

/// The same statements with Qt alone, 64 commands in each transaction.
double bare()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("pages.sqlite"));
    (void)MediaServer::ItemStore::open(file); // makes the tables
    double taken = 0;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("bare"));
        database.setDatabaseName(file);
        if (!database.open())
            Bench::fail(file);
        QSqlQuery control(database);
        control.exec(QStringLiteral("PRAGMA synchronous=FULL"));
        control.exec(QStringLiteral("PRAGMA foreign_keys=ON"));
        QSqlQuery count(database);
        QSqlQuery token(database);
        QSqlQuery person(database);
        QSqlQuery update(database);
        QSqlQuery insert(database);
        count.setForwardOnly(true);
        token.setForwardOnly(true);
        count.prepare(QStringLiteral("SELECT count(*) FROM item WHERE tessel = ?"));
        token.prepare(QStringLiteral("SELECT token FROM person WHERE tessel = ?"));
        person.prepare(QStringLiteral("INSERT INTO person (tessel, token, since) VALUES (?, ?, ?)"));
        update.prepare(
            QStringLiteral("UPDATE item SET displayname = ?, systemname = ? WHERE tessel = ? AND kind = ? AND value = ?"));
        insert.prepare(
            QStringLiteral("INSERT INTO item (tessel, kind, value, displayname, systemname, added) VALUES (?, ?, ?, ?, ?, ?)"));
        const QString now = QStringLiteral("2026-01-01T00:00:00Z");
        taken = Bench::seconds([&] {
            for (int number = 0; number < kCommandsEach; ++number) {
                control.exec(QStringLiteral("BEGIN IMMEDIATE"));
                for (int client = 0; client < kClients; ++client) {
                    const MediaServer::Item one = item(client, number);
                    run(count, {client});
                    count.next();
                    count.finish();
                    run(token, {client});
                    const bool isKnown = token.next();
                    token.finish();
                    if (!isKnown)
                        run(person, {client, QString::number(client), now});
                    run(update, {one.displayName, one.systemName, client, QStringLiteral("url"), one.value});
                    run(insert, {client, QStringLiteral("url"), one.value, one.displayName, one.systemName, now});
                }
                control.exec(QStringLiteral("COMMIT"));
            }
        });
    }
    QSqlDatabase::removeDatabase(QStringLiteral("bare"));
    return taken;
}
}

namespace Bench
{
void groupCommit()
{
    compare("group commit of 64 clients", throughStore, "bare transactions of 64", bare);
}
}
