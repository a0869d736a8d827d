#include "Boats.hpp"

#include <SpoiltDatabase.hpp>
#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

using namespace Storage;
using Kind = Store::Kind;

namespace
{
/// Whether a boat can be added, if not by the first job then by a later one.
bool isDoneAtLast(Store& store, const char* boat)
{
    bool isDone = false;
    for (int attempt = 0; attempt < 1000 && !isDone; ++attempt)
        isDone = store.run(Kind::Write, [boat](Transaction& t) { return addBoat(t, boat); }).value_or(false);
    return isDone;
}
}

TEST_CASE("sqlite file connection: a file that cannot be used is refused with the reason and the remedy, a lock is waited for")
{
    using TestSupport::SpoiltDatabase;
    constexpr int kWaitMs = 200;
    Store::Settings settings;
    settings.deadline = std::chrono::milliseconds(kWaitMs);
    for (const SpoiltDatabase::Kind kind : TestSupport::kSpoiltKinds) {
        CAPTURE(SpoiltDatabase::name(kind));
        const TestDatabase database(TestDatabase::Kind::Sqlite);
        const SpoiltDatabase spoilt(database.address().file, kind);
        QElapsedTimer clock;
        clock.start();
        const QString refusal = database.refusal(boats(), settings);
        CAPTURE(refusal.toStdString());
        CHECK(refusal.contains(database.address().file));
        CHECK(refusal.endsWith(QStringLiteral("); ") + SpoiltDatabase::remedy(kind)));
        CHECK((kind != SpoiltDatabase::Kind::Locked || clock.elapsed() >= kWaitMs - 10));
    }
}

TEST_CASE("sqlite file connection: a folder in place of the file is refused with its reason")
{
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    const QString file = database.address().file;
    REQUIRE(QDir().mkpath(file));
    CHECK(database.refusal(boats())
          == file
              + QStringLiteral(" cannot be used as the list of boats (it is a folder); only an ordinary file can be a database: "
                               "give it another place"));
}

TEST_CASE("sqlite file connection: a file that another one replaces is opened anew")
{
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    const TestDatabase restored(TestDatabase::Kind::Sqlite);
    CHECK(restored.store(boats())->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Restored"); }) == true);
    const auto store = database.store(boats());
    CHECK(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); }) == true);
    const QString file = database.address().file;
    for (const char* ending : {"", "-wal", "-shm"})
        QFile::remove(file + QLatin1String(ending));
    REQUIRE(QFile::copy(restored.address().file, file));
    CHECK(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ilma"); }) == true);
    CHECK(allBoats(*store) == "Restored Ilma");
    CHECK(database.execute(QStringLiteral("SELECT count(*) FROM boat")).toInt() == 2);
}

TEST_CASE(
    "sqlite file connection: a job finds at once that a file was replaced by none that can be used, and one that can is used")
{
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    Store::Settings settings;
    settings.deadline = std::chrono::hours(1); // far longer than the test's own limit
    const auto store = database.store(boats(), settings);
    CHECK(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); }) == true);
    QFile file(database.address().file);
    for (const char* ending : {"", "-wal", "-shm"})
        QFile::remove(file.fileName() + QLatin1String(ending));
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(5000, 'w'));
    file.close();
    const auto outcome = store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ilma"); });
    REQUIRE_FALSE(outcome);
    CHECK(outcome.error().kind == Failure::Kind::Refused);
    REQUIRE(file.remove());
    // An attempt to open the former file may be under way.
    CHECK(isDoneAtLast(*store, "Ilma"));
    CHECK(allBoats(*store) == "Ilma");
}

TEST_CASE("sqlite file connection: a job that meets a lock is refused after its deadline, and the next one gets through")
{
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    Store::Settings settings;
    settings.deadline = std::chrono::milliseconds(100);
    const auto store = database.store(boats(), settings);
    {
        const TestSupport::SpoiltDatabase locked(database.address().file, TestSupport::SpoiltDatabase::Kind::Locked);
        const auto outcome = store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); });
        REQUIRE_FALSE(outcome);
        CHECK(outcome.error().remedy.startsWith(QLatin1String("another program keeps it locked")));
    }
    // On a busy machine a job may miss so short a deadline for another reason.
    CHECK(isDoneAtLast(*store, "Ilma"));
    CHECK(allBoats(*database.store(boats())) == "Ilma");
}
