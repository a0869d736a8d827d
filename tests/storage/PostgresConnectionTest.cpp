#include "Boats.hpp"
#include "Connection.hpp"

#include <Patience.hpp>
#include <PostgresProxy.hpp>
#include <ReservedPort.hpp>
#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <condition_variable>
#include <future>
#include <mutex>
#include <utility>

using namespace Storage;
using Kind = Store::Kind;

namespace
{
/// A database behind a proxy.
struct Far
{
    TestDatabase database{TestDatabase::Kind::Postgres};
    PostgresProxy proxy{database.address().port};

    [[nodiscard]] std::unique_ptr<Store> store(const Store::Settings& settings) const
    {
        Address address = database.address();
        address.port = proxy.port();
        auto opened = Store::open(address, boats(), settings);
        REQUIRE_MESSAGE(opened, opened.error().toStdString());
        return std::move(*opened);
    }
};

/// Waits until a number that a store's thread changes is reached.
struct Counter
{
    std::mutex mutex;
    std::condition_variable changed;
    int count = 0;

    void add()
    {
        const std::lock_guard<std::mutex> guard(mutex);
        ++count;
        changed.notify_all();
    }
    bool waitFor(int wanted)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, TestSupport::kPatience, [&] { return count >= wanted; });
    }
};

Store::Settings within(std::chrono::milliseconds deadline)
{
    Store::Settings settings;
    settings.deadline = deadline;
    return settings;
}

const Store::Settings kPatient = within(TestSupport::kPatience);
}

TEST_CASE("postgres connection: a server that is not there is reported with its address and the remedy")
{
    const TestSupport::ReservedPort port;
    const auto address = Address::parse(QStringLiteral("postgres://hall@127.0.0.1:%1/tavola").arg(port.port()));
    REQUIRE(address);
    const auto refused = Store::open(*address, boats(), {});
    REQUIRE_FALSE(refused);
    CHECK(refused.error().startsWith(address->shown() + QStringLiteral(" cannot be used as the list of boats (")));
    CHECK(refused.error().endsWith(
        QLatin1String("; see whether the server runs, and whether address, user and password are right")));

    Counter outages;
    Store::Settings settings = within(std::chrono::milliseconds(300));
    settings.whenAway = Store::WhenAway::Open;
    settings.onEvent = [&outages](Store::Event event) {
        if (event == Store::Event::Away)
            outages.add();
    };
    const auto opened = Store::open(*address, boats(), settings);
    REQUIRE(opened);
    const auto outcome = (*opened)->run(Kind::Read, [](Transaction&) { return true; });
    REQUIRE_FALSE(outcome);
    CHECK(outcome.error().kind == Failure::Kind::Away);
    CHECK(outages.count == 1);
}

TEST_CASE("postgres connection: a password file that cannot be read is named, its content never is")
{
    const TestSupport::ReservedPort port;
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("password"));
    const auto refusal = [&] {
        const auto address =
            Address::parse(QStringLiteral("postgres://hall@127.0.0.1:%1/tavola?password-file=%2").arg(port.port()).arg(file));
        return Store::open(*address, boats(), {}).error();
    };
    CHECK(refusal().contains(QStringLiteral("the password cannot be read from ") + file));
    QFile written(file);
    REQUIRE(written.open(QIODevice::WriteOnly));
    written.write("open sesame\n");
    written.close();
    CHECK_FALSE(refusal().contains(QLatin1String("sesame")));
}

TEST_CASE("postgres connection: a job whose connection is killed in its middle runs again, and is done once")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    const auto store = database.store(boats(), kPatient);
    int calls = 0;
    const auto outcome = store->run(Kind::Write, [&](Transaction& transaction) {
        const bool isFirst = ++calls == 1;
        return addBoat(transaction, "Ahti")
            && (!isFirst || transaction.run(QStringLiteral("SELECT pg_terminate_backend(pg_backend_pid())")))
            && addBoat(transaction, "Ilma");
    });
    REQUIRE_MESSAGE(outcome, outcome.error().text().toStdString());
    CHECK(calls == 2);
    CHECK(allBoats(*store) == "Ahti Ilma");
}

TEST_CASE("postgres connection: a connection that is killed while it rests is opened again")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    Counter changes;
    Store::Settings settings = kPatient;
    settings.onEvent = [&changes](Store::Event) { changes.add(); };
    const auto store = database.store(boats(), settings);
    database.execute(
        QStringLiteral("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name = 'tavola' AND "
                       "datname = current_database()"));
    // What was changed meanwhile is not known, so there is an event although nothing has changed.
    CHECK(changes.waitFor(1));
    // And others' changes are noticed as before.
    CHECK(database.store(boats())->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); }) == true);
    CHECK(changes.waitFor(2));
    CHECK(allBoats(*store) == "Ahti");
}

TEST_CASE("postgres connection: a commit whose acknowledgement is lost is looked up, not done again")
{
    if (!TestDatabase::hasPostgres())
        return;
    Far far;
    const auto store = far.store(kPatient);
    int calls = 0;
    far.proxy.cutAnswerTo("COMMIT");
    const auto outcome = store->run(Kind::Write, [&](Transaction& transaction) {
        ++calls;
        return transaction.run(QStringLiteral("INSERT INTO boat (name, length) VALUES (?, 1)"),
                               {QStringLiteral("Boat%1").arg(calls)});
    });
    REQUIRE_MESSAGE(outcome, outcome.error().text().toStdString());
    CHECK(outcome == true);
    CHECK(calls == 1);
    CHECK(far.proxy.connections() == 2);
    CHECK(allBoats(*store) == "Boat1");
}

TEST_CASE(
    "postgres connection: a commit whose acknowledgement is lost with the server may have been saved, and is not the next job's")
{
    if (!TestDatabase::hasPostgres())
        return;
    Far far;
    const auto store = far.store(within(std::chrono::milliseconds(400)));
    far.proxy.cutAnswerTo("COMMIT", PostgresProxy::Then::Freeze);
    const auto outcome = store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); });
    REQUIRE_FALSE(outcome);
    CHECK(outcome.error().kind == Failure::Kind::Away);
    CHECK(outcome.error().reason.endsWith(QLatin1String("; whether it was saved is not known")));
    far.proxy.thaw();
    // On a busy machine a job may miss so short a deadline.
    bool isDone = false;
    for (int attempt = 0; attempt < 1000 && !isDone; ++attempt) {
        const auto next = store->run(Kind::Write, [](Transaction& t) {
            return t.run(QStringLiteral("INSERT INTO boat (name, length) VALUES ('Ilma', 1) ON CONFLICT DO NOTHING"));
        });
        isDone = next.has_value();
        if (!isDone)
            CHECK_FALSE(next.error().reason.isEmpty());
    }
    CHECK(isDone);
    CHECK(far.database.execute(QStringLiteral("SELECT count(*) FROM boat WHERE name = 'Ilma'")).toInt() == 1);
}

TEST_CASE("postgres connection: a commit that the server undid is done again")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    const auto store = database.store(boats(), kPatient);
    // Kills the connection in the commit, when the boat is long.
    database.execute(QStringLiteral("CREATE FUNCTION cut() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN PERFORM "
                                    "pg_terminate_backend(pg_backend_pid()); RETURN NULL; END $$"));
    database.execute(
        QStringLiteral("CREATE CONSTRAINT TRIGGER cut AFTER INSERT ON boat DEFERRABLE INITIALLY DEFERRED FOR EACH ROW "
                       "WHEN (NEW.length > 99) EXECUTE FUNCTION cut()"));
    int calls = 0;
    const auto outcome =
        store->run(Kind::Write, [&](Transaction& transaction) { return addBoat(transaction, "Ahti", ++calls == 1 ? 100 : 1); });
    REQUIRE_MESSAGE(outcome, outcome.error().text().toStdString());
    CHECK(calls == 2);
    CHECK(database.execute(QStringLiteral("SELECT length FROM boat")).toInt() == 1);
}

TEST_CASE("postgres connection: a job that another transaction was in the way of runs again on the same connection")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    const auto store = database.store(boats(), kPatient);
    // As the server does when two transactions wait for each other, when the boat is long.
    database.execute(QStringLiteral("CREATE FUNCTION collide() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN RAISE EXCEPTION "
                                    "'deadlock detected' USING ERRCODE = '40P01'; END $$"));
    database.execute(QStringLiteral("CREATE TRIGGER collide BEFORE INSERT ON boat FOR EACH ROW WHEN (NEW.length > 99) "
                                    "EXECUTE FUNCTION collide()"));
    int calls = 0;
    QString connection[2];
    const auto outcome = store->run(Kind::Write, [&](Transaction& transaction) {
        transaction.run(QStringLiteral("SELECT pg_backend_pid()"), {},
                        [&](const QSqlQuery& row) { connection[calls == 0 ? 0 : 1] = row.value(0).toString(); });
        return addBoat(transaction, "Ahti", ++calls == 1 ? 100 : 1);
    });
    REQUIRE_MESSAGE(outcome, outcome.error().text().toStdString());
    CHECK(calls == 2);
    CHECK(connection[0] == connection[1]);
    CHECK(database.execute(QStringLiteral("SELECT length FROM boat")).toInt() == 1);
}

TEST_CASE("postgres connection: a server that hangs costs a job its deadline, and is used again when it answers")
{
    if (!TestDatabase::hasPostgres())
        return;
    Far far;
    Counter events;
    Store::Settings settings = within(std::chrono::milliseconds(400));
    settings.onEvent = [&events](Store::Event) { events.add(); };
    const auto store = far.store(settings);
    CHECK(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); }) == true);
    far.proxy.freeze();
    for (int i = 0; i < 2; ++i) {
        const auto outcome = store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ilma"); });
        REQUIRE_FALSE(outcome);
        CHECK(outcome.error().kind == Failure::Kind::Away);
    }
    CHECK(events.waitFor(1)); // Away
    far.proxy.thaw();
    CHECK(events.waitFor(2)); // Changed: it is back
    CHECK(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Otso"); }) == true);
    CHECK(allBoats(*store) == "Ahti Otso");
}

TEST_CASE("postgres connection: the end of a program waits no longer for a server that hangs than it allows")
{
    if (!TestDatabase::hasPostgres())
        return;
    Far far;
    // Far longer than the test's own limit.
    const auto store = far.store(within(std::chrono::hours(1)));
    CHECK(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); }) == true);
    std::promise<Store::Outcome> waiting;
    std::promise<void> isRunning;
    std::promise<void> isFrozen;
    store->post(
        Kind::Write,
        [&isRunning, &isFrozen, isFirst = true](Transaction& t) mutable {
            if (std::exchange(isFirst, false)) {
                isRunning.set_value();
                isFrozen.get_future().wait();
            }
            return addBoat(t, "Ilma");
        },
        [&waiting](const Store::Outcome& outcome) { waiting.set_value(outcome); });
    isRunning.get_future().wait();
    far.proxy.freeze();
    std::promise<Store::Outcome> queued;
    store->post(
        Kind::Read, [](Transaction&) { return true; }, [&queued](const Store::Outcome& outcome) { queued.set_value(outcome); });
    store->endWithin(std::chrono::milliseconds(50));
    isFrozen.set_value();
    for (auto* promise : {&waiting, &queued}) {
        const auto outcome = promise->get_future().get();
        REQUIRE_FALSE(outcome);
        CHECK(outcome.error().kind == Failure::Kind::Away);
    }
    // What comes later fails at once, and a server that is back is not used any more.
    CHECK_FALSE(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Otso"); }));
    far.proxy.thaw();
    CHECK_FALSE(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Otso"); }));
}

TEST_CASE("postgres connection: a hanging server is noticed although no job is posted")
{
    if (!TestDatabase::hasPostgres())
        return;
    Far far;
    Counter outages;
    Store::Settings settings = within(std::chrono::milliseconds(400));
    settings.onEvent = [&outages](Store::Event event) {
        if (event == Store::Event::Away)
            outages.add();
    };
    const auto store = far.store(settings);
    far.proxy.freeze();
    CHECK(outages.waitFor(1));
    far.proxy.thaw();
}

TEST_CASE("postgres connection: a program that stops in a transaction does not keep others from writing for ever")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    const auto patient = database.store(boats(), kPatient);
    const auto stopped = database.store(boats(), within(std::chrono::milliseconds(500)));
    std::promise<void> isIn;
    std::promise<void> mayGo;
    Counter ends;
    stopped->post(
        Kind::Write,
        [&, calls = 0](Transaction& transaction) mutable {
            const bool isAdded = addBoat(transaction, "Stopped");
            if (++calls == 1) {
                isIn.set_value();
                mayGo.get_future().wait();
            }
            return isAdded;
        },
        [&ends](const Store::Outcome&) { ends.add(); });
    isIn.get_future().wait();
    CHECK(patient->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); }) == true);
    mayGo.set_value();
    CHECK(ends.waitFor(1));
    CHECK(allBoats(*patient) == "Ahti");
}

TEST_CASE("postgres connection: a commit that the server answers with a rollback is a failure")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    const auto connection = Connection::make(database.address(), TestSupport::kPatience, false);
    QString sentence;
    REQUIRE(connection->open(boats(), sentence));
    REQUIRE(connection->begin(Kind::Write));
    REQUIRE_FALSE(connection->execute(QStringLiteral("SELECT 1 / 0")));
    // The server rolls back what has failed, and calls that a success.
    CHECK_FALSE(connection->commit(Kind::Write, false));
    CHECK(connection->fault().kind == Fault::Kind::Statement);
    CHECK(connection->fault().reason == "the server rolled the transaction back");
    REQUIRE(connection->begin(Kind::Write));
    CHECK(connection->commit(Kind::Write, false));
}

TEST_CASE("postgres connection: what is acknowledged is on the disk where the database would not wait for it, and waits end")
{
    if (!TestDatabase::hasPostgres())
        return;
    struct Row
    {
        const char* inDatabase;
        const char* inSession;
    };
    for (const Row& row : {Row{"off", "on"}, Row{"on", "on"}, Row{"local", "local"}}) {
        const TestDatabase database(TestDatabase::Kind::Postgres);
        database.execute(QStringLiteral("ALTER DATABASE %1 SET synchronous_commit = '%2'")
                             .arg(database.address().database, QLatin1String(row.inDatabase)));
        const auto store = database.store(boats(), within(std::chrono::milliseconds(61001)));
        const auto setting = [&store](const char* name) {
            QString value;
            CHECK(store->run(Kind::Read, [&](Transaction& transaction) {
                return transaction.run(QStringLiteral("SELECT current_setting(?)"), {QLatin1String(name)},
                                       [&value](const QSqlQuery& line) { value = line.value(0).toString(); });
            }) == true);
            return value.toStdString();
        };
        CHECK(setting("synchronous_commit") == row.inSession);
        CHECK(setting("statement_timeout") == "61001ms");
        CHECK(setting("lock_timeout") == "61001ms");
        CHECK(setting("idle_in_transaction_session_timeout") == "61001ms");
        CHECK(setting("application_name") == "tavola");
    }
}
