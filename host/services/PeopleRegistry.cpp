#include "PeopleRegistry.hpp"

#include "SqliteConnection.hpp"

#include <Bedrock/Trace.hpp>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <set>

namespace
{
constexpr int kSchemaVersion = 1;
/// Disks stamp files with a clock that ticks more slowly than people can be entered.
constexpr qint64 kFreshMs = 1000;

void warnAbout(const char* what, const QString& path, const QString& detail)
{
    Bedrock::Trace::warning("PeopleRegistry # Failed to %s %s (%s)", what, path.toUtf8().constData(), detail.toUtf8().constData());
}

Person personOf(const QSqlQuery& query)
{
    Person person;
    // The code is kept as its decimal text: SQLite's integers are signed, codes are not.
    person.code = query.value(0).toString().toULongLong();
    person.name = query.value(1).toString();
    person.email = query.value(2).toString();
    person.contentKey = query.value(3).toString();
    person.kind = query.value(4).toInt();
    return person;
}

const char* const kColumns = "SELECT code, name, email, content_key, kind FROM people";
const char* const kAnyEver = "SELECT 1 FROM people UNION ALL SELECT 1 FROM emptied LIMIT 1";

/// One transaction that writes: takes the lock at once, so that what it reads first stays true, and is undone unless it is
/// committed.
class Writing
{
public:
    explicit Writing(const QString& path) : m_path(path), m_connection(path), m_query(m_connection.database())
    {
        if (!m_connection.isOpen())
            warnAbout("write", m_path, m_connection.error());
        else
            m_isOpen = exec(QStringLiteral("BEGIN IMMEDIATE"));
    }
    ~Writing()
    {
        m_query.finish();
        if (m_isOpen)
            m_query.exec(QStringLiteral("ROLLBACK"));
    }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;

    explicit operator bool() const noexcept { return m_isOpen; }
    [[nodiscard]] QSqlQuery& query() noexcept { return m_query; }
    /// False, with a warning, when SQLite cannot.
    bool exec() { return m_query.exec() || fail(); }
    bool exec(const QString& statement) { return m_query.exec(statement) || fail(); }
    bool commit()
    {
        m_query.finish();
        if (!exec(QStringLiteral("COMMIT")))
            return false;
        m_isOpen = false;
        return true;
    }

private:
    bool fail()
    {
        warnAbout("write", m_path, m_query.lastError().text());
        return false;
    }

    QString m_path;
    SqliteConnection m_connection;
    QSqlQuery m_query;
    bool m_isOpen = false;
};

/// "INSERT ..." as `verb` has it.
bool enter(Writing& writing, const char* verb, const std::vector<Person>& people)
{
    // An absent text is the empty one: a null QString would be stored as NULL.
    const auto text = [](const QString& value) { return value.isNull() ? QStringLiteral("") : value; };
    QSqlQuery& query = writing.query();
    query.prepare(QLatin1String(verb) + QStringLiteral(" INTO people (code, name, email, content_key, kind) VALUES (?, ?, ?, ?, ?)"));
    for (const Person& person : people) {
        query.bindValue(0, QString::number(person.code));
        query.bindValue(1, text(person.name));
        query.bindValue(2, text(person.email));
        query.bindValue(3, text(person.contentKey));
        query.bindValue(4, person.kind);
        if (!writing.exec())
            return false;
    }
    return true;
}
}

PeopleRegistry::PeopleRegistry(const QString& path) : m_path(path) {}
PeopleRegistry::~PeopleRegistry() = default;

std::unique_ptr<PeopleRegistry> PeopleRegistry::open(const QString& path, QString& error)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        error = QStringLiteral("cannot make the folder %1").arg(QFileInfo(path).absolutePath());
        return nullptr;
    }
    SqliteConnection connection(path);
    if (!connection.isOpen()) {
        error = QStringLiteral("cannot open %1 (%2)").arg(path, connection.error());
        return nullptr;
    }
    QSqlQuery query(connection.database());
    const bool isDatabase = query.exec(QStringLiteral("PRAGMA user_version")) && query.next();
    const int version = isDatabase ? query.value(0).toInt() : 0;
    query.finish();
    if (version > kSchemaVersion) {
        error = QStringLiteral("%1 was made by a newer version of this program; use that one, or move the file away to begin a new one").arg(path);
        return nullptr;
    }
    if (!isDatabase || !query.exec(QStringLiteral("PRAGMA journal_mode=WAL"))
        || !query.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS people (code TEXT PRIMARY KEY, name TEXT NOT NULL, "
                                      "email TEXT NOT NULL, content_key TEXT NOT NULL, kind INTEGER NOT NULL)"))
        // Has a row once somebody was taken out: a registry that is empty because of that is not a new one.
        || !query.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS emptied (once INTEGER PRIMARY KEY)"))
        || !query.exec(QStringLiteral("PRAGMA user_version=%1").arg(kSchemaVersion))) {
        error = QStringLiteral("%1 cannot be used as the registry of people (%2); move it away to begin a new one")
                    .arg(path, query.lastError().text());
        return nullptr;
    }
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
    SqliteConnection connection(m_path);
    QSqlQuery query(connection.database());
    query.setForwardOnly(true);
    bool isRead = query.exec(QLatin1String(kColumns) + QStringLiteral(" ORDER BY length(code), code"));
    while (isRead && query.next())
        result.push_back(personOf(query));
    isRead = isRead && !query.lastError().isValid();
    if (isRead)
        return result;
    warnAbout("read", m_path, query.lastError().text());
    return std::nullopt;
}

std::optional<Person> PeopleRegistry::person(unsigned long code) const
{
    SqliteConnection connection(m_path);
    QSqlQuery query(connection.database());
    query.prepare(QLatin1String(kColumns) + QStringLiteral(" WHERE code = ?"));
    query.addBindValue(QString::number(code));
    if (!query.exec()) {
        warnAbout("read", m_path, query.lastError().text());
        return std::nullopt;
    }
    if (!query.next())
        return std::nullopt;
    return personOf(query);
}

bool PeopleRegistry::beginWith(const std::vector<Person>& people)
{
    Writing writing(m_path);
    if (!writing || !writing.exec(QLatin1String(kAnyEver)))
        return false;
    if (writing.query().next())
        return true;
    return enter(writing, "INSERT", people) && writing.commit();
}

bool PeopleRegistry::add(const Person& person, bool& isThere)
{
    isThere = false;
    Writing writing(m_path);
    if (!writing || !enter(writing, "INSERT OR IGNORE", {person}))
        return false;
    isThere = writing.query().numRowsAffected() == 0;
    return !isThere && writing.commit();
}

bool PeopleRegistry::insert(const std::vector<Person>& people)
{
    Writing writing(m_path);
    return writing && enter(writing, "INSERT OR REPLACE", people) && writing.commit();
}

std::optional<Person> PeopleRegistry::registerOwner(unsigned long code, const QString& name, const QString& email)
{
    Writing writing(m_path);
    if (!writing)
        return std::nullopt;
    QSqlQuery& query = writing.query();
    query.prepare(QStringLiteral("UPDATE people SET name = ?, email = ?, kind = 0 WHERE code = ?"));
    query.addBindValue(name.isNull() ? QStringLiteral("") : name);
    query.addBindValue(email.isNull() ? QStringLiteral("") : email);
    query.addBindValue(QString::number(code));
    if (!writing.exec() || query.numRowsAffected() != 1)
        return std::nullopt;
    query.prepare(QLatin1String(kColumns) + QStringLiteral(" WHERE code = ?"));
    query.addBindValue(QString::number(code));
    if (!writing.exec() || !query.next())
        return std::nullopt;
    Person person = personOf(query);
    return writing.commit() ? std::optional(std::move(person)) : std::nullopt;
}

bool PeopleRegistry::remove(const std::vector<unsigned long>& codes, std::optional<unsigned long>& unknown)
{
    unknown.reset();
    Writing writing(m_path);
    if (!writing || !writing.exec(QStringLiteral("INSERT OR IGNORE INTO emptied (once) VALUES (1)")))
        return false;
    QSqlQuery& query = writing.query();
    query.prepare(QStringLiteral("DELETE FROM people WHERE code = ?"));
    for (const unsigned long code : std::set<unsigned long>(codes.begin(), codes.end())) {
        query.bindValue(0, QString::number(code));
        if (!writing.exec())
            return false;
        if (query.numRowsAffected() != 1) {
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
    // Whoever writes next may do it within the same tick and leave the sizes: such a stamp is good for one look only.
    if (isFresh)
        result += "at " + QByteArray::number(now);
    return result;
}
