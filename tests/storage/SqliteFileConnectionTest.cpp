#include "Boats.hpp"

#include <SpoiltDatabase.hpp>
#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

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

/// The bytes of a file from a place on. What writes and reads them replaces no file: it stays the one that a connection has open.
QByteArray bytesOf(const QString& name, qint64 from)
{
    QFile file(name);
    REQUIRE(file.open(QIODevice::ReadOnly));
    REQUIRE(file.seek(from));
    return file.readAll();
}

void setBytes(const QString& name, qint64 from, const QByteArray& bytes)
{
    QFile file(name);
    REQUIRE(file.open(QIODevice::ReadWrite));
    REQUIRE(file.seek(from));
    REQUIRE(file.write(bytes) == bytes.size());
}

/// From now on every reading and writing through the open descriptors of that file fails, as on a disk that has gone.
void breakDescriptors(const QString& name)
{
    const QString path = QFileInfo(name).canonicalFilePath();
    const int folder = ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    REQUIRE(folder >= 0);
    int broken = 0;
    for (const QString& entry : QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System)) {
        if (QFile::symLinkTarget(QStringLiteral("/proc/self/fd/") + entry) == path) {
            REQUIRE(::dup2(folder, entry.toInt()) >= 0);
            ++broken;
        }
    }
    ::close(folder);
    REQUIRE(broken > 0);
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

TEST_CASE("sqlite file connection: what is damaged or no database for a while is read from its beginning when it is whole again")
{
    struct Row
    {
        const char* what;
        qint64 from;
        int bytes; ///< -1: to the end
    };
    constexpr qint64 kHeader = 100;
    for (const Row& row : {Row{"damaged", kHeader, -1}, Row{"no database", 0, 16}}) {
        CAPTURE(row.what);
        const TestDatabase database(TestDatabase::Kind::Sqlite);
        const auto store = database.store(boats());
        CHECK(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); }) == true);
        // What another program has written the store has to read, and all is in the file itself.
        database.execute(QStringLiteral("INSERT INTO boat (name, length) VALUES ('Otso', 1)"));
        database.execute(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
        const QString file = database.address().file;
        const QByteArray whole = bytesOf(file, row.from).mid(0, row.bytes);
        setBytes(file, row.from, QByteArray(whole.size(), '\x5a'));
        const auto outcome = store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ilma"); });
        REQUIRE_FALSE(outcome);
        CHECK(outcome.error().kind == Failure::Kind::Refused);
        CHECK(outcome.error().remedy == "move it away to begin a new one");
        setBytes(file, row.from, whole);
        // An attempt to open the damaged file may be under way.
        CHECK(isDoneAtLast(*store, "Ilma"));
        CHECK(allBoats(*store) == "Ahti Otso Ilma");
    }
}

TEST_CASE("sqlite file connection: a file whose disk has failed is opened anew")
{
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    const auto store = database.store(boats());
    CHECK(store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti"); }) == true);
    database.execute(QStringLiteral("INSERT INTO boat (name, length) VALUES ('Otso', 1)"));
    database.execute(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)"));
    breakDescriptors(database.address().file);
    const auto outcome = store->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ilma"); });
    REQUIRE_FALSE(outcome);
    CHECK(outcome.error().remedy.startsWith(QLatin1String("make room on the disk, or check it")));
    CHECK(isDoneAtLast(*store, "Ilma"));
    CHECK(allBoats(*store) == "Ahti Otso Ilma");
}

TEST_CASE("sqlite file connection: each commit goes to the disk, into a log beside the file, and references are checked")
{
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    const auto store = database.store(boats());
    const auto setting = [&store](const char* name) {
        QString value;
        CHECK(store->run(Kind::Read, [&](Transaction& transaction) {
            return transaction.run(QStringLiteral("SELECT * FROM pragma_%1").arg(QLatin1String(name)), {},
                                   [&value](const QSqlQuery& row) { value = row.value(0).toString(); });
        }) == true);
        return value.toStdString();
    };
    CHECK(setting("synchronous") == "2"); // FULL
    CHECK(setting("journal_mode") == "wal");
    CHECK(setting("foreign_keys") == "1");
}
