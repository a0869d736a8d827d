#include "PeopleRegistry.hpp"

#include "SqliteConnection.hpp"
#include "SqliteSchema.hpp"
#include "SqliteTransaction.hpp"

#include <Bedrock/PersonalTexts.hpp>
#include <Bedrock/Trace.hpp>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSqlQuery>

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

const char* const kColumns = "SELECT code, name, email, content_key, kind, language FROM people";
const char* const kAnyEver = "SELECT 1 FROM people UNION ALL SELECT 1 FROM emptied LIMIT 1";

/// Format 2 added the language.
constexpr int kFormat = 2;

bool prepareTables(SqliteTransaction& transaction, int found, QString&)
{
    if (found == 0) {
        transaction.run("CREATE TABLE people (code TEXT PRIMARY KEY, name TEXT NOT NULL, email TEXT NOT NULL, "
                        "content_key TEXT NOT NULL, kind INTEGER NOT NULL)");
        // Has a row once a person was removed: a registry that is empty because of that is not new.
        transaction.run("CREATE TABLE emptied (once INTEGER PRIMARY KEY)");
    }
    return transaction.run("ALTER TABLE people ADD COLUMN language TEXT NOT NULL DEFAULT ''");
}

SqliteTransaction::Report warning(const char* what, const QString& path)
{
    return [what, path](const QString& reason, const QString& remedy) {
        Bedrock::Trace::warning("PeopleRegistry # Failed to %s %s (%s); %s", what, path.toUtf8().constData(),
                                reason.toUtf8().constData(), remedy.toUtf8().constData());
    };
}

/// Writes people; `verb` is "INSERT", alone or with its "OR ...". False when one of them could not be written.
bool enter(SqliteTransaction& writing, const char* verb, const std::vector<Person>& people)
{
    const QString statement = QLatin1String(verb)
        + QStringLiteral(" INTO people (code, name, email, content_key, kind, language) VALUES (?, ?, ?, ?, ?, ?)");
    for (const Person& person : people)
        writing.run(statement,
                    {QString::number(person.code), person.name, person.email, person.contentKey, person.kind, person.language});
    return bool(writing);
}
}

PeopleRegistry::PeopleRegistry(const QString& path) : m_path(path) {}
PeopleRegistry::~PeopleRegistry() = default;

std::unique_ptr<PeopleRegistry> PeopleRegistry::open(const QString& path, QString& error)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        error = QStringLiteral(
                    "cannot make the folder %1; check that all above it are folders, and let this user write the last of them")
                    .arg(QFileInfo(path).absolutePath());
        return nullptr;
    }
    const SqliteSchema schema{"the registry of people", kFormat, &prepareTables};
    if (!schema.prepare(path, error))
        return nullptr;
    return std::unique_ptr<PeopleRegistry>(new PeopleRegistry(path));
}

bool PeopleRegistry::isNew() const
{
    SqliteConnection connection(m_path);
    QSqlQuery query(connection.database());
    return query.exec(QLatin1String(kAnyEver)) && !query.next();
}

std::optional<std::vector<Person>> PeopleRegistry::people() const
{
    std::vector<Person> result;
    SqliteTransaction reading(m_path, SqliteTransaction::Kind::Read, warning("read", m_path));
    const bool isRead = reading.run(QLatin1String(kColumns) + QStringLiteral(" ORDER BY length(code), code"), {},
                                    [&result](const QSqlQuery& row) { result.push_back(personOf(row)); });
    return isRead ? std::optional(std::move(result)) : std::nullopt;
}

std::optional<Person> PeopleRegistry::person(unsigned long code) const
{
    std::optional<Person> result;
    SqliteTransaction reading(m_path, SqliteTransaction::Kind::Read, warning("read", m_path));
    const bool isRead = reading.run(QLatin1String(kColumns) + QStringLiteral(" WHERE code = ?"), {QString::number(code)},
                                    [&result](const QSqlQuery& row) { result = personOf(row); });
    return isRead ? result : std::nullopt;
}

bool PeopleRegistry::beginWith(const std::vector<Person>& people)
{
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning("write", m_path));
    bool isUsed = false;
    if (!writing.run(QLatin1String(kAnyEver), {}, [&isUsed](const QSqlQuery&) { isUsed = true; }))
        return false;
    return isUsed || (enter(writing, "INSERT", people) && writing.commit());
}

bool PeopleRegistry::add(const Person& person, bool& isThere)
{
    isThere = false;
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning("write", m_path));
    if (!enter(writing, "INSERT OR IGNORE", {person}))
        return false;
    isThere = writing.changedRows() == 0;
    return !isThere && writing.commit();
}

bool PeopleRegistry::insert(const std::vector<Person>& people)
{
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning("write", m_path));
    return enter(writing, "INSERT OR REPLACE", people) && writing.commit();
}

std::optional<Person> PeopleRegistry::registerOwner(unsigned long code, const QString& name, const QString& email)
{
    Bedrock::PersonalTexts::remember(name);
    Bedrock::PersonalTexts::remember(email);
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning("write", m_path));
    const QString number = QString::number(code);
    if (!writing.run(QStringLiteral("UPDATE people SET name = ?, email = ?, kind = 0 WHERE code = ?"), {name, email, number})
        || writing.changedRows() != 1)
        return std::nullopt;
    std::optional<Person> person;
    writing.run(QLatin1String(kColumns) + QStringLiteral(" WHERE code = ?"), {number},
                [&person](const QSqlQuery& row) { person = personOf(row); });
    return writing.commit() ? person : std::nullopt;
}

bool PeopleRegistry::remove(const std::vector<unsigned long>& codes, std::optional<unsigned long>& unknown)
{
    unknown.reset();
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, warning("write", m_path));
    if (!writing.run(QStringLiteral("INSERT OR IGNORE INTO emptied (once) VALUES (1)")))
        return false;
    for (const unsigned long code : std::set<unsigned long>(codes.begin(), codes.end())) {
        if (!writing.run(QStringLiteral("DELETE FROM people WHERE code = ?"), {QString::number(code)}))
            return false;
        if (writing.changedRows() != 1) {
            unknown = code;
            return false;
        }
    }
    return writing.commit();
}

QByteArray PeopleRegistry::stamp() const
{
    QByteArray result;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    bool isFresh = false;
    for (const char* ending : {"", "-wal"}) {
        const QFileInfo file(m_path + QLatin1String(ending));
        const qint64 changed = file.exists() ? file.lastModified().toMSecsSinceEpoch() : 0;
        isFresh = isFresh || changed > now - kFreshMs;
        result += QByteArray::number(file.size()) + ':' + QByteArray::number(changed) + ' ';
    }
    // The next write may fall into the same tick and keep the sizes, so a stamp of a fresh file differs from every other.
    if (isFresh)
        result += "at " + QByteArray::number(now);
    return result;
}
}
