#include "services/collections/CollectionFile.hpp"

#include "services/SqliteSchema.hpp"

#include <QFileInfo>

#include <set>
#include <utility>

namespace Host
{
namespace
{
constexpr int kVersion = 1;

bool makeTables(SqliteTransaction& transaction, int, QString&)
{
    // The code is kept as its decimal text: SQLite's integers are signed, codes are not. `run` and `number` give the order of the
    // drops whatever the clock says.
    transaction.run("CREATE TABLE items (key TEXT PRIMARY KEY, code TEXT NOT NULL, run INTEGER NOT NULL, number INTEGER NOT NULL,"
                    " stored INTEGER NOT NULL, content TEXT NOT NULL, status INTEGER NOT NULL, preview TEXT NOT NULL)");
    transaction.run("CREATE INDEX items_of_card ON items (code, run, number)");
    transaction.run("CREATE INDEX items_by_run ON items (run)");
    return transaction.run("CREATE INDEX items_by_time ON items (stored)");
}

/// Keys end with the number of the drop in its run of the program.
qint64 numberOf(const QString& key)
{
    return key.section(QLatin1Char('-'), -1).toLongLong();
}
}

CollectionFile::CollectionFile(const QString& path, Report report)
    : m_path(path), m_previews(QFileInfo(path).absolutePath() + QStringLiteral("/previews")), m_report(std::move(report))
{
}

bool CollectionFile::exists() const
{
    return QFileInfo(m_path).size() > 0;
}

bool CollectionFile::open()
{
    QString error;
    if (!m_previews.prepare(error)) {
        m_report(QStringLiteral("open ") + m_path, error,
                 QStringLiteral("free space on the disk, and let this user write there"));
        return false;
    }
    const SqliteSchema schema{QStringLiteral("a store of collections"), kVersion, makeTables, SqliteSchema::WhenLocked::Open};
    if (!schema.prepare(m_path, error)) {
        m_report(QStringLiteral("open ") + m_path, error, QStringLiteral("until then what is collected stays on the table only"));
        return false;
    }
    std::set<QString> wanted;
    SqliteTransaction reading(m_path, SqliteTransaction::Kind::Read, failing("read"));
    if (!reading.run("SELECT preview FROM items", {}, [&](const QSqlQuery& row) { wanted.insert(row.value(0).toString()); }))
        return false;
    m_previews.removeAllBut(wanted);
    return true;
}

SqliteTransaction::Report CollectionFile::failing(const char* what) const
{
    return [this, what](const QString& reason, const QString& remedy) {
        m_report(QLatin1String(what) + QLatin1Char(' ') + m_path, reason, remedy);
    };
}

bool CollectionFile::copyPreview(const Change& change, QString& name) const
{
    const QString& picture = change.item.preview;
    if (change.kind == Change::Kind::Remove || picture.isEmpty())
        return true;
    if (m_previews.contains(picture)) {
        name = QFileInfo(picture).fileName();
        return true;
    }
    QString error;
    switch (m_previews.copy(picture, change.item.key, name, error)) {
    case CollectionPreviews::Copied::Yes: return true;
    case CollectionPreviews::Copied::NoSource: name.clear(); return true;
    case CollectionPreviews::Copied::Failed: break;
    }
    m_report(QStringLiteral("write ") + m_previews.path(name), error,
             QStringLiteral("free space on the disk, and let this user write there"));
    return false;
}

bool CollectionFile::apply(const std::vector<Change>& changes, qint64 now)
{
    // Pictures first: a stored item has its picture.
    QStringList previews;
    for (const Change& change : changes) {
        QString name;
        if (!copyPreview(change, name))
            return false;
        previews << name;
    }
    QStringList removed;
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, failing("write"));
    for (std::size_t i = 0; i < changes.size() && writing; ++i) {
        const Change& change = changes[i];
        switch (change.kind) {
        case Change::Kind::Add: (void)add(writing, change, previews.at(int(i)), now); break;
        case Change::Kind::Update:
            // The picture of an item that another program has removed goes with it.
            if (update(writing, change, previews.at(int(i))) && writing.changedRows() == 0)
                removed << previews.at(int(i));
            break;
        case Change::Kind::Remove:
            writing.run("SELECT preview FROM items WHERE key = ?", {change.item.key},
                        [&](const QSqlQuery& row) { removed << row.value(0).toString(); });
            writing.run("DELETE FROM items WHERE key = ?", {change.item.key});
            break;
        }
    }
    if (!writing.commit())
        return false;
    m_previews.remove(removed);
    return true;
}

bool CollectionFile::add(SqliteTransaction& writing, const Change& change, const QString& preview, qint64 now)
{
    if (m_run == 0)
        writing.run("SELECT COALESCE(MAX(run), 0) + 1 FROM items", {},
                    [this](const QSqlQuery& row) { m_run = row.value(0).toLongLong(); });
    const CollectedItem& item = change.item;
    return writing.run("INSERT OR REPLACE INTO items (key, code, run, number, stored, content, status, preview) "
                       "VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
                       {item.key, QString::number(change.code), m_run, numberOf(item.key), now,
                        QString::fromUtf8(formatContent(item)), item.status, preview});
}

bool CollectionFile::update(SqliteTransaction& writing, const Change& change, const QString& preview)
{
    const CollectedItem& item = change.item;
    return writing.run("UPDATE items SET content = ?, status = ?, preview = ? WHERE key = ?",
                       {QString::fromUtf8(formatContent(item)), item.status, preview, item.key});
}

std::optional<std::vector<CollectedItem>> CollectionFile::items(unsigned long code, qint64 since) const
{
    std::vector<CollectedItem> result;
    SqliteTransaction reading(m_path, SqliteTransaction::Kind::Read, failing("read"));
    const bool isRead = reading.run("SELECT key, content, status, preview FROM items WHERE code = ? AND stored >= ? "
                                    "ORDER BY run, number, key",
                                    {QString::number(code), since}, [&](const QSqlQuery& row) {
                                        CollectedItem item;
                                        item.key = row.value(0).toString();
                                        readContent(row.value(1).toString().toUtf8(), item);
                                        item.status = row.value(2).toInt();
                                        const QString preview = m_previews.path(row.value(3).toString());
                                        if (QFileInfo(preview).isFile())
                                            item.preview = preview;
                                        result.push_back(std::move(item));
                                    });
    return isRead ? std::optional(std::move(result)) : std::nullopt;
}

std::optional<int> CollectionFile::removeWhere(const QString& condition, const std::vector<QVariant>& values)
{
    QStringList previews;
    int count = 0;
    SqliteTransaction writing(m_path, SqliteTransaction::Kind::Write, failing("write"));
    for (const QVariant& value : values) {
        writing.run(QStringLiteral("SELECT preview FROM items WHERE ") + condition, {value},
                    [&](const QSqlQuery& row) { previews << row.value(0).toString(); });
        if (writing.run(QStringLiteral("DELETE FROM items WHERE ") + condition, {value}))
            count += writing.changedRows();
    }
    if (!writing.commit())
        return std::nullopt;
    m_previews.remove(previews);
    return count;
}

std::optional<int> CollectionFile::removeBefore(qint64 time)
{
    return removeWhere(QStringLiteral("stored < ?"), {time});
}

std::optional<int> CollectionFile::clear(const std::vector<unsigned long>& codes)
{
    std::vector<QVariant> values;
    for (const unsigned long code : codes)
        values.emplace_back(QString::number(code));
    return removeWhere(QStringLiteral("code = ?"), values);
}

std::optional<int> CollectionFile::clearAll()
{
    return removeWhere(QStringLiteral("code <> ?"), {QString()});
}

std::optional<std::vector<CollectionFile::Card>> CollectionFile::cards() const
{
    std::vector<Card> result;
    SqliteTransaction reading(m_path, SqliteTransaction::Kind::Read, failing("read"));
    const bool isRead =
        reading.run("SELECT code, COUNT(*), MIN(stored), MAX(stored) FROM items GROUP BY code ORDER BY length(code), code", {},
                    [&result](const QSqlQuery& row) {
                        result.push_back({row.value(0).toString().toULong(), row.value(1).toInt(), row.value(2).toLongLong(),
                                          row.value(3).toLongLong()});
                    });
    return isRead ? std::optional(std::move(result)) : std::nullopt;
}
}
