#include "PeopleRegistry.hpp"

#include <Bedrock/Trace.hpp>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <atomic>

namespace
{
constexpr int kSchemaVersion = 1;

/// A connection of the calling thread, closed when it goes out of scope.
class Connection
{
public:
    explicit Connection(const QString& path)
    {
        static std::atomic<int> counter{0};
        m_name = QStringLiteral("people-%1").arg(++counter);
        m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
        m_database.setDatabaseName(path);
        m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
        m_open = m_database.open();
        if (m_open) {
            QSqlQuery pragma(m_database);
            pragma.exec(QStringLiteral("PRAGMA synchronous=FULL"));
        }
    }
    ~Connection()
    {
        m_database.close();
        m_database = QSqlDatabase();
        QSqlDatabase::removeDatabase(m_name);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] bool isOpen() const { return m_open; }
    [[nodiscard]] QSqlDatabase& database() { return m_database; }
    [[nodiscard]] QString error() const { return m_database.lastError().text(); }

private:
    QString m_name;
    QSqlDatabase m_database;
    bool m_open = false;
};

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
}

PeopleRegistry::PeopleRegistry(const QString& path) : m_path(path) {}
PeopleRegistry::~PeopleRegistry() = default;

std::unique_ptr<PeopleRegistry> PeopleRegistry::open(const QString& path, QString& error)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        error = QStringLiteral("cannot make the folder %1").arg(QFileInfo(path).absolutePath());
        return nullptr;
    }
    Connection connection(path);
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
        || !query.exec(QStringLiteral("PRAGMA user_version=%1").arg(kSchemaVersion))) {
        error = QStringLiteral("%1 cannot be used as the registry of people (%2); move it away to begin a new one")
                    .arg(path, query.lastError().text());
        return nullptr;
    }
    return std::unique_ptr<PeopleRegistry>(new PeopleRegistry(path));
}

bool PeopleRegistry::isEmpty() const
{
    Connection connection(m_path);
    QSqlQuery query(connection.database());
    return !(query.exec(QStringLiteral("SELECT 1 FROM people LIMIT 1")) && query.next());
}

std::vector<Person> PeopleRegistry::people() const
{
    std::vector<Person> result;
    Connection connection(m_path);
    QSqlQuery query(connection.database());
    query.setForwardOnly(true);
    if (!query.exec(QLatin1String(kColumns) + QStringLiteral(" ORDER BY length(code), code")))
        warnAbout("read", m_path, query.lastError().text());
    while (query.next())
        result.push_back(personOf(query));
    return result;
}

std::optional<Person> PeopleRegistry::person(unsigned long code) const
{
    Connection connection(m_path);
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

bool PeopleRegistry::insert(const std::vector<Person>& people)
{
    Connection connection(m_path);
    QSqlDatabase& database = connection.database();
    if (!connection.isOpen() || !database.transaction()) {
        warnAbout("write", m_path, connection.error());
        return false;
    }
    QSqlQuery query(database);
    query.prepare(QStringLiteral("INSERT OR REPLACE INTO people (code, name, email, content_key, kind) VALUES (?, ?, ?, ?, ?)"));
    // An absent text is the empty one: a null QString would be stored as NULL.
    const auto text = [](const QString& value) { return value.isNull() ? QStringLiteral("") : value; };
    for (const Person& person : people) {
        query.bindValue(0, QString::number(person.code));
        query.bindValue(1, text(person.name));
        query.bindValue(2, text(person.email));
        query.bindValue(3, text(person.contentKey));
        query.bindValue(4, person.kind);
        if (!query.exec()) {
            warnAbout("write", m_path, query.lastError().text());
            database.rollback();
            return false;
        }
    }
    if (!database.commit()) {
        warnAbout("write", m_path, database.lastError().text());
        database.rollback();
        return false;
    }
    return true;
}

bool PeopleRegistry::registerOwner(unsigned long code, const QString& name, const QString& email)
{
    Connection connection(m_path);
    if (!connection.isOpen()) {
        warnAbout("write", m_path, connection.error());
        return false;
    }
    QSqlQuery query(connection.database());
    query.prepare(QStringLiteral("UPDATE people SET name = ?, email = ?, kind = 0 WHERE code = ?"));
    query.addBindValue(name.isNull() ? QStringLiteral("") : name);
    query.addBindValue(email.isNull() ? QStringLiteral("") : email);
    query.addBindValue(QString::number(code));
    if (!query.exec()) {
        warnAbout("write", m_path, query.lastError().text());
        return false;
    }
    return query.numRowsAffected() == 1;
}

bool PeopleRegistry::remove(const std::vector<unsigned long>& codes, std::optional<unsigned long>& unknown)
{
    Connection connection(m_path);
    QSqlDatabase& database = connection.database();
    if (!connection.isOpen() || !database.transaction()) {
        warnAbout("write", m_path, connection.error());
        return false;
    }
    QSqlQuery query(database);
    query.prepare(QStringLiteral("DELETE FROM people WHERE code = ?"));
    for (const unsigned long code : codes) {
        query.bindValue(0, QString::number(code));
        const bool done = query.exec();
        if (done && query.numRowsAffected() == 1)
            continue;
        if (done)
            unknown = code;
        else
            warnAbout("write", m_path, query.lastError().text());
        database.rollback();
        return false;
    }
    if (!database.commit()) {
        warnAbout("write", m_path, database.lastError().text());
        database.rollback();
        return false;
    }
    return true;
}

QByteArray PeopleRegistry::stamp() const
{
    QByteArray result;
    for (const char* ending : {"", "-wal"}) {
        const QFileInfo file(m_path + QLatin1String(ending));
        result += QByteArray::number(file.size()) + ':' + QByteArray::number(file.lastModified().toMSecsSinceEpoch()) + ' ';
    }
    return result;
}
