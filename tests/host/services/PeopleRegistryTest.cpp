#include "services/PeopleRegistry.hpp"

#include "Folder.hpp"

#include <Bedrock/LogText.hpp>
#include <LogCapture.hpp>
#include <SpoiltDatabase.hpp>

#include <doctest/doctest.h>

#include <QDateTime>
#include <QElapsedTimer>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

using namespace Host;

namespace
{
std::unique_ptr<PeopleRegistry> opened(const QString& path)
{
    QString error;
    auto registry = PeopleRegistry::open(path, error);
    REQUIRE_MESSAGE(registry, error.toStdString());
    return registry;
}

QString refusal(const QString& path, std::chrono::milliseconds deadline = PeopleRegistry::kDeadline)
{
    QString error;
    CHECK_FALSE(PeopleRegistry::open(path, error, deadline));
    return error;
}

/// The database as another program sees it.
void execute(const QString& path, const QString& statement)
{
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("other"));
        database.setDatabaseName(path);
        REQUIRE(database.open());
        QSqlQuery query(database);
        REQUIRE_MESSAGE(query.exec(statement), query.lastError().text().toStdString());
    }
    QSqlDatabase::removeDatabase(QStringLiteral("other"));
}

using RegistryPeople = std::vector<Person>;
const Person kAnn{1001, QStringLiteral("Ann"), QStringLiteral("ann@museum.example"), QStringLiteral("key"), 0};
const Person kNobody{1002, QString(), QString(), QString(), 3};
}

TEST_CASE("people registry: people of another registry get the cards that are not there or have no owner")
{
    const Folder folder;
    const auto registry = opened(folder.path(QStringLiteral("people.sqlite")));
    const Person named{1002, QStringLiteral("Bo"), QString(), QStringLiteral("new"), 0};
    const Person reachable{1004, QString(), QStringLiteral("di@museum.example"), QString(), 0};
    const Person blank{1003, QString(), QString(), QStringLiteral("old"), 3};
    REQUIRE(registry->insert({kAnn, kNobody, blank, {1004, QString(), QString(), QString(), 3}}));
    CHECK(registry->insertMissing({{1001, QStringLiteral("Other"), QString(), QString(), 0},
                                   named,
                                   {1003, QString(), QString(), QStringLiteral("other"), 3},
                                   reachable,
                                   {1005, QString(), QString(), QString(), 3}})
          == 3);
    CHECK(registry->people() == RegistryPeople{kAnn, named, blank, reachable, {1005, QString(), QString(), QString(), 3}});
    // An address is an owner, too.
    CHECK(registry->insertMissing({{1004, QStringLiteral("Other"), QString(), QString(), 0}}) == 0);
    CHECK(registry->insertMissing({}) == 0);
}

TEST_CASE("people registry: of two that bring the same cards at once, each card's owner comes from one")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    constexpr int kCards = 300;
    std::atomic<int> entered{0};
    const auto bring = [&](const char* name) {
        QString error;
        const auto registry = PeopleRegistry::open(path, error, std::chrono::minutes(1));
        std::vector<Person> people;
        for (int code = 1; code <= kCards; ++code)
            people.push_back({static_cast<unsigned long>(code), QString::fromUtf8(name), QString(), QString(), 0});
        entered += registry->insertMissing(people).value();
    };
    (void)opened(path);
    std::thread other([&] { bring("other"); });
    bring("one");
    other.join();
    CHECK(entered == kCards);
}

TEST_CASE("people registry: a new one is empty, and its folder is made")
{
    const Folder folder;
    const auto registry = opened(folder.path(QStringLiteral("a/b/people.sqlite")));
    CHECK(registry->isNew());
    CHECK(registry->people() == RegistryPeople{});
    CHECK_FALSE(registry->person(1001));
}

TEST_CASE("people registry: people are there again after a new start")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    CHECK(opened(path)->insert({kNobody, kAnn}));
    const auto registry = opened(path);
    CHECK_FALSE(registry->isNew());
    CHECK(registry->people() == RegistryPeople{kAnn, kNobody});
    CHECK(registry->person(1001) == kAnn);
    CHECK_FALSE(registry->person(7));
}

TEST_CASE("people registry: entering a code again replaces its owner")
{
    const Folder folder;
    const auto registry = opened(folder.path(QStringLiteral("people.sqlite")));
    CHECK(registry->insert({kAnn}));
    Person other = kAnn;
    other.name = QStringLiteral("Bo'; DROP TABLE people; --");
    CHECK(registry->insert({other}));
    CHECK(registry->people() == RegistryPeople{other});
}

TEST_CASE("people registry: codes of the whole range are kept and stand in order")
{
    const Folder folder;
    const auto registry = opened(folder.path(QStringLiteral("people.sqlite")));
    const unsigned long codes[] = {18446744073709551615ul, 9223372036854775808ul, 9007199254740993ul, 10, 9, 0};
    RegistryPeople people;
    for (const unsigned long code : codes)
        people.push_back({code, {}, {}, {}, 0});
    CHECK(registry->insert(people));
    std::reverse(people.begin(), people.end());
    CHECK(registry->people() == people);
    CHECK(registry->registerOwner(18446744073709551615ul, QStringLiteral("Max"), QString()));
    CHECK(registry->person(18446744073709551615ul)->name == "Max");
}

TEST_CASE("people registry: either all people of a list are entered or none")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    const auto registry = opened(path);
    CHECK(registry->insert({kAnn}));
    execute(path,
            QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON people WHEN NEW.code = '666' BEGIN SELECT RAISE(ABORT, 'no "
                           "such card'); END"));
    TestSupport::expectWarningStartingWith("PeopleRegistry # Failed to write " + path.toStdString() + " (");
    CHECK_FALSE(registry->insert({kNobody, {666, {}, {}, {}, 0}, {7, {}, {}, {}, 0}}));
    CHECK(registry->people() == RegistryPeople{kAnn});
}

TEST_CASE("people registry: a card gets an owner, and is a personal card from then on")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    CHECK(opened(path)->insert({kNobody}));
    CHECK(opened(path)->registerOwner(1002, QStringLiteral("山田"), QStringLiteral("y@museum.example")));
    CHECK(opened(path)->person(1002) == Person{1002, QStringLiteral("山田"), QStringLiteral("y@museum.example"), {}, 0});
}

TEST_CASE("people registry: a card that is not in the registry cannot be registered")
{
    const Folder folder;
    const auto registry = opened(folder.path(QStringLiteral("people.sqlite")));
    CHECK(registry->insert({kAnn}));
    CHECK_FALSE(registry->registerOwner(77, QStringLiteral("Bo"), QString()));
    CHECK(registry->people() == RegistryPeople{kAnn});
}

TEST_CASE("people registry: a file that is something else is refused and left as it was")
{
    const Folder folder;
    const QByteArray bytes = QByteArray("This is a letter, not a database. ").repeated(200);
    const QString path = folder.write(QStringLiteral("people.sqlite"), bytes);
    CHECK(refusal(path).startsWith(path + QStringLiteral(" cannot be used as the registry of people (")));
    CHECK(refusal(path).endsWith(QStringLiteral("; move it away to begin a new one")));
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadOnly));
    CHECK(file.readAll() == bytes);
}

TEST_CASE("people registry: a damaged file is refused or reported, never a crash")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    {
        RegistryPeople many;
        for (unsigned long code = 1; code <= 500; ++code)
            many.push_back({code, QStringLiteral("Visitor"), QString(), QString(), 0});
        CHECK(opened(path)->insert(many));
    }
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadWrite));
    REQUIRE(file.size() > 8192);
    REQUIRE(file.seek(4096));
    REQUIRE(file.write(QByteArray(int(file.size()) - 4096, '\x5a')) > 0);
    file.close();

    const auto registry = opened(path); // the first page is whole
    TestSupport::expectWarningStartingWith("PeopleRegistry # Failed to read " + path.toStdString() + " (");
    CHECK_FALSE(registry->people());
    TestSupport::expectWarningStartingWith("PeopleRegistry # Failed to write " + path.toStdString() + " (");
    CHECK_FALSE(registry->insert({kAnn}));
    for (const TestSupport::LogLine& line : TestSupport::loggedLines())
        CHECK(QString::fromStdString(line.text).endsWith(QStringLiteral("; move it away to begin a new one")));
}

TEST_CASE("people registry: a file of a newer version is refused and left as it was")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    CHECK(opened(path)->insert({kAnn}));
    execute(path, QStringLiteral("PRAGMA user_version = 99"));
    CHECK(refusal(path) == path + QStringLiteral(" was made by a newer version of this program; use that one"));
    execute(path, QStringLiteral("PRAGMA user_version = 2"));
    CHECK(opened(path)->people() == RegistryPeople{kAnn});
}

TEST_CASE("people registry: a file of the first format gets the languages, and keeps its people")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    execute(path,
            QStringLiteral("CREATE TABLE people (code TEXT PRIMARY KEY, name TEXT NOT NULL, email TEXT NOT NULL, "
                           "content_key TEXT NOT NULL, kind INTEGER NOT NULL)"));
    execute(path, QStringLiteral("CREATE TABLE emptied (once INTEGER PRIMARY KEY)"));
    execute(path, QStringLiteral("INSERT INTO people VALUES ('1001', 'Ann', 'ann@museum.example', 'key', 0)"));
    execute(path, QStringLiteral("PRAGMA user_version = 1"));
    CHECK(opened(path)->people() == RegistryPeople{kAnn});
    Person finn{1003, QStringLiteral("Finn"), {}, {}, 0, QStringLiteral("fi")};
    CHECK(opened(path)->insert({finn}));
    CHECK(opened(path)->people() == RegistryPeople{kAnn, finn});
    CHECK(opened(path)->registerOwner(1003, QStringLiteral("Finn"), QStringLiteral("finn@museum.example"))->language == "fi");
}

TEST_CASE("people registry: where no file can be, the reason is reported")
{
    const Folder folder;
    const QString file = folder.write(QStringLiteral("file"), "");
    CHECK(refusal(file + QStringLiteral("/people.sqlite"))
          == QStringLiteral(
                 "cannot make the folder %1; check that all above it are folders, and let this user write the last of them")
                 .arg(file));
    CHECK(refusal(folder.path())
          == folder.path()
              + QStringLiteral(
                  " cannot be used as the registry of people (it is a folder); only an ordinary file can be a database: "
                  "give it another place"));
    // Not even the superuser can make files there.
    CHECK(refusal(QStringLiteral("/proc/people.sqlite")).startsWith(QStringLiteral("cannot open /proc/people.sqlite (")));
}

TEST_CASE("people registry: a file that cannot be used is refused with the reason and the remedy, and a lock is waited for")
{
    using TestSupport::SpoiltDatabase;
    constexpr int kWaitMs = 200;
    for (const SpoiltDatabase::Kind kind : TestSupport::kSpoiltKinds) {
        CAPTURE(SpoiltDatabase::name(kind));
        const Folder folder;
        const QString path = folder.path(QStringLiteral("people.sqlite"));
        const SpoiltDatabase spoilt(path, kind);
        QElapsedTimer clock;
        clock.start();
        const QString error = refusal(path, std::chrono::milliseconds(kWaitMs));
        CAPTURE(error.toStdString());
        CHECK(error.contains(path));
        CHECK(error.endsWith(QStringLiteral("); ") + SpoiltDatabase::remedy(kind)));
        CHECK((kind != SpoiltDatabase::Kind::Locked || clock.elapsed() >= kWaitMs - 10));
    }
}

TEST_CASE("people registry: what it has read, and what visitors register, is shortened in lines that leave the program")
{
    const Folder folder;
    const auto registry = opened(folder.path(QStringLiteral("people.sqlite")));
    CHECK(registry->insert({{1, QStringLiteral("Oona Registrar"), {}, {}, 0}, {2, {}, {}, {}, 3}}));
    REQUIRE(registry->people());
    CHECK(Bedrock::withoutSecrets("A # Oona Registrar") == "A # O…");
    REQUIRE(registry->registerOwner(2, QStringLiteral("Pia Registrar"), QStringLiteral("pia registrar at home")));
    CHECK(Bedrock::withoutSecrets("A # Pia Registrar, pia registrar at home") == "A # P…, p…");
}

TEST_CASE("people registry: two of them on one file see each other's people")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    const auto one = opened(path);
    const auto other = opened(path);
    CHECK(one->insert({kAnn}));
    CHECK(other->insert({kNobody}));
    CHECK(one->people() == RegistryPeople{kAnn, kNobody});
    CHECK(other->people() == RegistryPeople{kAnn, kNobody});
}

TEST_CASE("people registry: threads that write at once all get through")
{
    const Folder folder;
    const auto registry = opened(folder.path(QStringLiteral("people.sqlite")));
    constexpr unsigned long kEach = 20;
    const auto enter = [&](unsigned long first) {
        for (unsigned long i = 0; i < kEach; ++i)
            if (!registry->insert({{first + i, QStringLiteral("Visitor"), QString(), QString(), 3}})
                || !registry->registerOwner(first + i, QStringLiteral("Owner"), QString()))
                return;
    };
    std::vector<std::thread> threads;
    for (unsigned long t = 1; t <= 3; ++t)
        threads.emplace_back(enter, t * 100);
    for (unsigned long i = 0; i < kEach; ++i)
        (void)registry->people();
    for (std::thread& thread : threads)
        thread.join();
    const RegistryPeople people = *registry->people();
    CHECK(people.size() == 3 * kEach);
    CHECK(std::all_of(people.begin(), people.end(), [](const Person& p) { return p.name == "Owner" && p.kind == 0; }));
}

TEST_CASE("people registry: a presentation's people come into a new one only")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    const auto registry = opened(path);
    CHECK(registry->beginWith({}));
    CHECK(registry->isNew());
    CHECK(registry->beginWith({kAnn}));
    CHECK(registry->people() == RegistryPeople{kAnn});
    CHECK(registry->beginWith({kNobody}));
    CHECK(registry->people() == RegistryPeople{kAnn});
    std::optional<unsigned long> unknown;
    CHECK(registry->remove({1001}, unknown));
    CHECK_FALSE(opened(path)->isNew());
    CHECK(opened(path)->beginWith({kAnn}));
    CHECK(opened(path)->people() == RegistryPeople{});
}

TEST_CASE("people registry: a card that several add at the same time is added once")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    const auto registry = opened(path);
    bool isThere = true;
    CHECK(registry->add(kAnn, isThere));
    CHECK_FALSE(isThere);
    Person other = kAnn;
    other.name = QStringLiteral("Bo");
    CHECK_FALSE(registry->add(other, isThere));
    CHECK(isThere);
    CHECK(registry->people() == RegistryPeople{kAnn});

    std::atomic<int> added{0};
    std::atomic<int> refused{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            bool known = false;
            const bool done = registry->add({7, QString::number(i), {}, {}, 0}, known);
            ++(done ? added : refused);
            if (done == known)
                refused += 100;
        });
    for (std::thread& thread : threads)
        thread.join();
    CHECK(added == 1);
    CHECK(refused == 3);
}

TEST_CASE("people registry: cards are taken out together, or none of them")
{
    const Folder folder;
    const auto registry = opened(folder.path(QStringLiteral("people.sqlite")));
    CHECK(registry->insert({kAnn, kNobody, {7, {}, {}, {}, 0}}));
    std::optional<unsigned long> unknown;
    CHECK_FALSE(registry->remove({1001, 4711, 7}, unknown));
    CHECK(unknown == 4711ul);
    CHECK(registry->people()->size() == 3);
    CHECK(registry->remove({1001, 7, 1001}, unknown));
    CHECK_FALSE(unknown);
    CHECK(registry->people() == RegistryPeople{kNobody});
    CHECK_FALSE(registry->remove({1001}, unknown));
    CHECK(unknown == 1001ul);
    CHECK(registry->remove({}, unknown));
    CHECK(registry->people() == RegistryPeople{kNobody});
}

TEST_CASE("people registry: what cannot be written is reported and leaves everything as it was")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    const auto registry = opened(path);
    CHECK(registry->insert({kAnn, kNobody}));
    for (const char* what : {"INSERT", "UPDATE", "DELETE"})
        execute(path,
                QStringLiteral("CREATE TRIGGER refuse_%1 BEFORE %1 ON people BEGIN SELECT RAISE(ABORT, 'no'); END")
                    .arg(QLatin1String(what)));
    const std::string told = "PeopleRegistry # Failed to write " + path.toStdString() + " (";
    bool isThere = true;
    std::optional<unsigned long> unknown = 5ul;
    TestSupport::expectWarningStartingWith(told);
    CHECK_FALSE(registry->add({9, {}, {}, {}, 0}, isThere));
    CHECK_FALSE(isThere);
    TestSupport::expectWarningStartingWith(told);
    CHECK_FALSE(registry->registerOwner(1002, QStringLiteral("Bo"), QString()));
    TestSupport::expectWarningStartingWith(told);
    CHECK_FALSE(registry->remove({1001}, unknown));
    CHECK_FALSE(unknown);
    CHECK(registry->people() == RegistryPeople{kAnn, kNobody});
}

TEST_CASE("people registry: registering gives the card as it is then, with the content it had")
{
    const Folder folder;
    const auto registry = opened(folder.path(QStringLiteral("people.sqlite")));
    CHECK(registry->insert({kAnn}));
    const Person bo{1001, QStringLiteral("Bo"), QString(), QStringLiteral("key"), 0};
    CHECK(registry->registerOwner(1001, QStringLiteral("Bo"), QString()) == bo);
    CHECK(registry->people() == RegistryPeople{bo});
}

TEST_CASE("people registry: the stamp shows every write, however close they follow")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    const auto registry = opened(path);
    const auto desk = opened(path);
    for (int i = 0; i < 20; ++i) {
        CAPTURE(i);
        const QByteArray before = registry->stamp();
        Person ann = kAnn;
        ann.name = QString(QLatin1Char(char('a' + i))); // every time as long
        CHECK(desk->insert({ann}));
        CHECK(registry->stamp() != before);
    }
}

TEST_CASE("people registry: no two stamps of a file that was just written are alike, also within one tick of the clock")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    const auto registry = opened(path);
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadWrite));
    REQUIRE(
        file.setFileTime(QDateTime::currentDateTime().addSecs(60), QFileDevice::FileModificationTime)); // for as long as it takes
    std::set<QByteArray> stamps;
    constexpr int kStamps = 50;
    for (int i = 0; i < kStamps; ++i)
        stamps.insert(registry->stamp());
    CHECK(stamps.size() == kStamps);
}

TEST_CASE("people registry: the stamp of one that is not written to stays, also while people are read")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("people.sqlite"));
    const auto registry = opened(path);
    CHECK(registry->insert({kAnn}));
    for (const char* ending : {"", "-wal"}) {
        QFile file(path + QLatin1String(ending));
        REQUIRE(file.open(QIODevice::ReadWrite));
        REQUIRE(file.setFileTime(QDateTime::currentDateTime().addSecs(-60), QFileDevice::FileModificationTime));
    }
    const QByteArray stamp = registry->stamp();
    CHECK(registry->stamp() == stamp);
    CHECK(registry->people() == RegistryPeople{kAnn});
    CHECK(registry->person(1001) == kAnn);
    CHECK(registry->stamp() == stamp);
    CHECK(registry->insert({kNobody}));
    CHECK(registry->stamp() != stamp);
}
