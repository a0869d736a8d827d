#include "PeopleRegistry.hpp"

#include "PeopleCopy.hpp"

#include <Bedrock/PersonalTexts.hpp>
#include <Bedrock/Trace.hpp>
#include <Storage/Store.hpp>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSqlQuery>

#include <algorithm>
#include <atomic>
#include <map>
#include <set>
#include <utility>

namespace Host
{
namespace
{
/// File times tick more slowly than people can be entered; a file changed within this time may change again unnoticed.
constexpr qint64 kFreshMs = 1000;

Person personOf(const QSqlQuery& query)
{
    Person person;
    // The code is kept as its decimal text: SQLite's integers are signed, codes are not.
    person.code = query.value(0).toString().toULongLong();
    person.name = query.value(1).toString();
    person.email = query.value(2).toString();
    person.contentKey = query.value(3).toString();
    person.kind = query.value(4).toInt();
    person.language = query.value(5).toString();
    Bedrock::PersonalTexts::remember(person.name);
    return person;
}

const QString kColumns = QStringLiteral("SELECT code, name, email, content_key, kind, language FROM people");
const QString kAnyEver = QStringLiteral("SELECT 1 FROM people UNION ALL SELECT 1 FROM emptied LIMIT 1");
const QString kReplace = QStringLiteral(" ON CONFLICT (code) DO UPDATE SET name = excluded.name, email = excluded.email, "
                                        "content_key = excluded.content_key, kind = excluded.kind, language = excluded.language");
constexpr int kValuesEach = 6;
/// A server is asked once for so many rows.
constexpr std::size_t kRowsAtOnce = 500;

/// The statements of version 1 and 2 make what SQLite files of these versions have.
Storage::Schema schema()
{
    return {QStringLiteral("people"),
            QStringLiteral("the registry of people"),
            {{1,
              "CREATE TABLE people (code TEXT PRIMARY KEY, name TEXT NOT NULL, email TEXT NOT NULL, content_key TEXT NOT NULL, "
              "kind INTEGER NOT NULL)"},
             // Has a row once a person was removed: a registry that is empty because of that is not new.
             {1, "CREATE TABLE emptied (once INTEGER PRIMARY KEY)"},
             {2, "ALTER TABLE people ADD COLUMN language TEXT NOT NULL DEFAULT ''"}}};
}

/// Writes people. False when one of them could not be written.
bool enter(Storage::Transaction& writing, const std::vector<Person>& people, const QString& onConflict)
{
    for (std::size_t first = 0; first < people.size() && writing; first += kRowsAtOnce) {
        const std::size_t count = std::min(kRowsAtOnce, people.size() - first);
        QVariantList values;
        for (std::size_t i = first; i < first + count; ++i) {
            const Person& person = people[i];
            values << QString::number(person.code) << person.name << person.email << person.contentKey << person.kind
                   << person.language;
        }
        writing.run(QStringLiteral("INSERT INTO people (code, name, email, content_key, kind, language) VALUES ")
                        + Storage::Transaction::rows(static_cast<int>(count), kValuesEach) + onConflict,
                    values);
    }
    return bool(writing);
}

/// Of several people of one code the last one, as when they are written one after the other: one statement cannot write a row
/// twice.
std::vector<Person> lastOfEachCode(const std::vector<Person>& people)
{
    std::vector<Person> result;
    std::set<unsigned long> seen;
    for (auto person = people.rbegin(); person != people.rend(); ++person)
        if (seen.insert(person->code).second)
            result.push_back(*person);
    std::reverse(result.begin(), result.end());
    return result;
}

bool hasOwner(const Person& person)
{
    return !person.name.isEmpty() || !person.email.isEmpty();
}

bool isAnyEver(Storage::Transaction& transaction, bool& isUsed)
{
    isUsed = false;
    return transaction.run(kAnyEver, {}, [&isUsed](const QSqlQuery&) { isUsed = true; });
}
}

struct PeopleRegistry::Private
{
    using Kind = Storage::Store::Kind;

    PeopleCopy copy{QString()};
    bool hasCopy = false;
    std::atomic<unsigned> events{0}; ///< of a server
    std::atomic<quint64> freshStamps{0};
    std::atomic<bool> isAway{false}; ///< a server, by its last event
    std::unique_ptr<Storage::Store> store;

    /// Whether a job was committed; failures are logged.
    bool run(Kind kind, const Storage::Store::Job& job) const
    {
        // Nothing is read from a server that is known to be away: its people are read when it is back, and the copy is there.
        const Storage::Failure away{Storage::Failure::Kind::Away, QStringLiteral("the database is away"),
                                    QStringLiteral("see whether its server runs and this machine reaches it")};
        const auto outcome = kind == Kind::Read && isAway ? Storage::Store::Outcome(tl::unexpected(away)) : store->run(kind, job);
        if (!outcome)
            Bedrock::Trace::warning("PeopleRegistry # Failed to %s %s (%s); %s", kind == Kind::Read ? "read" : "write",
                                    store->address().shown().toUtf8().constData(), outcome.error().reason.toUtf8().constData(),
                                    outcome.error().remedy.toUtf8().constData());
        return outcome.value_or(false);
    }
};

PeopleRegistry::PeopleRegistry(std::unique_ptr<Private> made) : d(std::move(made)) {}
PeopleRegistry::~PeopleRegistry() = default;

void PeopleRegistry::endWithin(std::chrono::milliseconds time)
{
    d->store->endWithin(time);
}

std::unique_ptr<PeopleRegistry> PeopleRegistry::open(const QString& path, QString& error, std::chrono::milliseconds deadline)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        error = QStringLiteral(
                    "cannot make the folder %1; check that all above it are folders, and let this user write the last of them")
                    .arg(QFileInfo(path).absolutePath());
        return nullptr;
    }
    Storage::Address address;
    address.file = path;
    return open(address, {}, error, deadline);
}

std::unique_ptr<PeopleRegistry> PeopleRegistry::open(const Storage::Address& address, const QString& copyFile, QString& error,
                                                     std::chrono::milliseconds deadline)
{
    auto made = std::make_unique<Private>();
    made->copy = PeopleCopy(copyFile);
    made->hasCopy = !copyFile.isEmpty();
    Storage::Store::Settings settings;
    settings.deadline = deadline;
    if (address.isPostgres() && made->hasCopy) {
        settings.onEvent = [registry = made.get()](Storage::Store::Event event) {
            registry->isAway = event == Storage::Store::Event::Away;
            ++registry->events;
        };
        if (QFileInfo::exists(copyFile))
            settings.whenAway = Storage::Store::WhenAway::Open;
        else
            QDir().mkpath(QFileInfo(copyFile).absolutePath());
    }
    auto opened = Storage::Store::open(address, schema(), settings);
    if (!opened) {
        error = opened.error();
        return nullptr;
    }
    made->store = std::move(*opened);
    return std::unique_ptr<PeopleRegistry>(new PeopleRegistry(std::move(made)));
}

std::unique_ptr<PeopleRegistry> PeopleRegistry::openFor(const QString& database, const QString& dataFolder, Copy copy,
                                                        QString& error, std::chrono::milliseconds deadline)
{
    if (database.isEmpty())
        return open(dataFolder + QStringLiteral("/people.sqlite"), error, deadline);
    auto address = Storage::Address::parse(database);
    if (address && !address->isPostgres())
        address = tl::unexpected(QStringLiteral("it has to begin with postgres://; people are in a file without it"));
    if (!address) {
        error = QStringLiteral("the presentation's \"database\" cannot be used: ") + address.error();
        return nullptr;
    }
    return open(*address, copy == Copy::Kept ? dataFolder + QStringLiteral("/people-copy.csv") : QString(), error, deadline);
}

QString PeopleRegistry::path() const
{
    return d->store->address().shown();
}

bool PeopleRegistry::isShared() const
{
    return d->store->address().isPostgres();
}

bool PeopleRegistry::isNew() const
{
    if (d->isAway)
        return false;
    bool isUsed = false;
    const auto outcome = d->store->run(Private::Kind::Read,
                                       [&isUsed](Storage::Transaction& transaction) { return isAnyEver(transaction, isUsed); });
    return outcome && !isUsed;
}

std::optional<std::vector<Person>> PeopleRegistry::people() const
{
    std::vector<Person> result;
    const bool isRead = d->run(Private::Kind::Read, [&result](Storage::Transaction& reading) {
        result.clear();
        return reading.run(kColumns + QStringLiteral(" ORDER BY length(code), code"), {},
                           [&result](const QSqlQuery& row) { result.push_back(personOf(row)); });
    });
    if (!isRead)
        return std::nullopt;
    if (d->hasCopy)
        d->copy.write(result);
    return result;
}

std::optional<std::vector<Person>> PeopleRegistry::copiedPeople() const
{
    return d->hasCopy ? d->copy.read() : std::nullopt;
}

std::optional<Person> PeopleRegistry::person(unsigned long code) const
{
    std::optional<Person> result;
    const bool isRead = d->run(Private::Kind::Read, [&result, code](Storage::Transaction& reading) {
        result.reset();
        return reading.run(kColumns + QStringLiteral(" WHERE code = ?"), {QString::number(code)},
                           [&result](const QSqlQuery& row) { result = personOf(row); });
    });
    return isRead ? result : std::nullopt;
}

bool PeopleRegistry::beginWith(const std::vector<Person>& people)
{
    bool isUsed = false;
    return d->run(Private::Kind::Write, [&](Storage::Transaction& writing) {
        return isAnyEver(writing, isUsed) && (isUsed || enter(writing, people, {}));
    });
}

bool PeopleRegistry::add(const Person& person, bool& isThere)
{
    isThere = false;
    return d->run(Private::Kind::Write, [&](Storage::Transaction& writing) {
        isThere = enter(writing, {person}, QStringLiteral(" ON CONFLICT (code) DO NOTHING")) && writing.changedRows() == 0;
        return !isThere;
    });
}

bool PeopleRegistry::insert(const std::vector<Person>& people)
{
    return d->run(Private::Kind::Write,
                  [known = lastOfEachCode(people)](Storage::Transaction& writing) { return enter(writing, known, kReplace); });
}

std::optional<int> PeopleRegistry::insertMissing(const std::vector<Person>& people)
{
    std::vector<Person> missing;
    const bool isWritten = d->run(Private::Kind::Write, [&](Storage::Transaction& writing) {
        std::map<unsigned long, bool> isOwned; // the cards that are there
        writing.run(kColumns, {}, [&isOwned](const QSqlQuery& row) {
            const Person known = personOf(row);
            isOwned[known.code] = hasOwner(known);
        });
        missing.clear();
        for (const Person& person : lastOfEachCode(people)) {
            const auto known = isOwned.find(person.code);
            if (known == isOwned.end() || (!known->second && hasOwner(person)))
                missing.push_back(person);
        }
        return enter(writing, missing, kReplace);
    });
    return isWritten ? std::optional(static_cast<int>(missing.size())) : std::nullopt;
}

std::optional<Person> PeopleRegistry::registerOwner(unsigned long code, const QString& name, const QString& email)
{
    Bedrock::PersonalTexts::remember(name);
    Bedrock::PersonalTexts::remember(email);
    const QString number = QString::number(code);
    std::optional<Person> person;
    const bool isWritten = d->run(Private::Kind::Write, [&](Storage::Transaction& writing) {
        person.reset();
        return writing.run(QStringLiteral("UPDATE people SET name = ?, email = ?, kind = 0 WHERE code = ?"),
                           {name, email, number})
            && writing.changedRows() == 1
            && writing.run(kColumns + QStringLiteral(" WHERE code = ?"), {number},
                           [&person](const QSqlQuery& row) { person = personOf(row); });
    });
    return isWritten ? person : std::nullopt;
}

bool PeopleRegistry::remove(const std::vector<unsigned long>& codes, std::optional<unsigned long>& unknown)
{
    return d->run(Private::Kind::Write, [&](Storage::Transaction& writing) {
        unknown.reset();
        writing.run(QStringLiteral("INSERT INTO emptied (once) VALUES (1) ON CONFLICT (once) DO NOTHING"));
        for (const unsigned long code : std::set<unsigned long>(codes.begin(), codes.end())) {
            if (!writing.run(QStringLiteral("DELETE FROM people WHERE code = ?"), {QString::number(code)}))
                return false;
            if (writing.changedRows() != 1) {
                unknown = code;
                return false;
            }
        }
        return bool(writing);
    });
}

QByteArray PeopleRegistry::stamp() const
{
    if (isShared())
        return QByteArray::number(d->events.load());
    QByteArray result;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    bool isFresh = false;
    for (const char* ending : {"", "-wal"}) {
        const QFileInfo file(path() + QLatin1String(ending));
        const qint64 changed = file.exists() ? file.lastModified().toMSecsSinceEpoch() : 0;
        isFresh = isFresh || changed > now - kFreshMs;
        result += QByteArray::number(file.size()) + ':' + QByteArray::number(changed) + ' ';
    }
    // The next write may fall into the same tick and keep the sizes, so a stamp of a fresh file differs from every other. It is
    // numbered: two stamps may be taken within the clock's millisecond, with a write between them.
    if (isFresh)
        result += "fresh " + QByteArray::number(d->freshStamps++);
    return result;
}
}
