#include "services/collections/CollectionDatabase.hpp"

#include "services/collections/CollectionSchema.hpp"
#include "services/collections/CollectionWrite.hpp"

#include <QFile>
#include <QFileInfo>

#include <utility>

namespace Host
{
namespace
{
/// Longer than any table adds anew what it could not store before. Times are those of the tables' clocks.
constexpr qint64 kRemovedKeptSeconds = qint64(30) * 24 * 3600;
/// Of a picture that goes to the server; the table's own are far smaller.
constexpr qint64 kLargestSharedPicture = 4 << 20;
}

CollectionDatabase::CollectionDatabase(const CollectionPlace& place, const Settings& settings, Report report)
    : m_place(place), m_settings(settings), m_previews(place.previews), m_report(std::move(report))
{
}

qint64 CollectionDatabase::numberOf(const QString& key)
{
    return key.section(QLatin1Char('-'), -1).toLongLong();
}

bool CollectionDatabase::exists() const
{
    return m_place.isShared() || QFileInfo(m_place.address.file).size() > 0;
}

void CollectionDatabase::close()
{
    std::unique_ptr<Storage::Store> ending; // waits for its thread
    const std::lock_guard<std::mutex> guard(m_mutex);
    ending.swap(m_store);
}

void CollectionDatabase::endWithin(std::chrono::milliseconds time)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_end = std::chrono::steady_clock::now() + time;
    if (m_store)
        m_store->endWithin(time);
}

bool CollectionDatabase::isEnding()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_end && std::chrono::steady_clock::now() >= *m_end;
}

void CollectionDatabase::use(std::unique_ptr<Storage::Store> store)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_store = std::move(store);
    if (m_end)
        m_store->endWithin(std::chrono::duration_cast<std::chrono::milliseconds>(*m_end - std::chrono::steady_clock::now()));
}

bool CollectionDatabase::open()
{
    close();
    if (isEnding())
        return false;
    QString error;
    if (!m_previews.prepare(error)) {
        m_report(QStringLiteral("open ") + path(), error,
                 QStringLiteral("free space on the disk, and let this user write there"));
        return false;
    }
    Storage::Store::Settings settings;
    settings.deadline = m_settings.deadline;
    if (m_settings.changed)
        settings.onEvent = [changed = m_settings.changed](Storage::Store::Event event) {
            if (event == Storage::Store::Event::Changed)
                changed();
        };
    auto opened = Storage::Store::open(m_place.address, collectionSchema(), settings);
    if (!opened) {
        m_report(QStringLiteral("open ") + path(), opened.error(),
                 QStringLiteral("until then what is collected stays on the table only"));
        return false;
    }
    use(std::move(*opened));
    qint64 last = 0;
    const bool isRead = run(Kind::Read, [&last](Storage::Transaction& reading) {
        return reading.run(QStringLiteral("SELECT last FROM item_changes"), {},
                           [&last](const QSqlQuery& row) { last = row.value(0).toLongLong(); });
    });
    if (isRead && m_seen < 0)
        m_seen = last;
    return isRead && removeStrayPreviews();
}

bool CollectionDatabase::removeStrayPreviews()
{
    std::set<QString> wanted;
    const bool isRead = run(Kind::Read, [&](Storage::Transaction& reading) {
        wanted = m_waitingPreviews;
        return reading.run(QStringLiteral("SELECT preview FROM items"), {},
                           [&wanted](const QSqlQuery& row) { wanted.insert(row.value(0).toString()); });
    });
    if (isRead)
        m_previews.removeAllBut(wanted);
    return isRead;
}

bool CollectionDatabase::run(Kind kind, const Storage::Store::Job& job)
{
    const auto outcome = m_store->run(kind, job);
    m_wasAway = !outcome && outcome.error().kind == Storage::Failure::Kind::Away;
    if (!outcome)
        m_report((kind == Kind::Read ? QStringLiteral("read ") : QStringLiteral("write ")) + path(), outcome.error().reason,
                 outcome.error().remedy);
    return outcome.value_or(false);
}

bool CollectionDatabase::copyPreview(const Change& change, QString& name) const
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

/// For the server, which has those that came from it.
QByteArray CollectionDatabase::pictureOf(const Change& change, const QString& name) const
{
    if (!m_place.isShared() || name.isEmpty() || (m_previews.contains(change.item.preview) && !change.isPreviewNew))
        return {};
    QFile file(m_previews.path(name));
    return file.size() <= kLargestSharedPicture && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void CollectionDatabase::setWaiting(const std::vector<Change>& changes)
{
    m_waitingPreviews.clear();
    for (const Change& change : changes)
        if (m_previews.contains(change.item.preview))
            m_waitingPreviews.insert(QFileInfo(change.item.preview).fileName());
}

bool CollectionDatabase::apply(const std::vector<Change>& changes, qint64 now)
{
    // Pictures first: a stored item has its picture.
    std::vector<CollectionWrite::Preview> previews;
    for (const Change& change : changes) {
        QString name;
        if (!copyPreview(change, name))
            return false;
        previews.push_back({name, pictureOf(change, name)});
    }
    QStringList removed;
    CollectionRuns runs;
    const bool isWritten = run(Kind::Write, [&](Storage::Transaction& transaction) {
        CollectionWrite write(transaction, m_runs, now);
        for (std::size_t i = 0; i < changes.size() && transaction; ++i)
            write.apply(changes[i], previews[i]);
        removed = write.removedPreviews();
        runs = write.runs();
        return bool(transaction);
    });
    if (!isWritten)
        return false;
    m_runs = std::move(runs);
    m_previews.remove(removed);
    return true;
}

std::optional<std::vector<CollectedItem>> CollectionDatabase::items(unsigned long code, qint64 since)
{
    std::vector<CollectedItem> result;
    std::map<QString, QByteArray> pictures;
    const bool isRead = run(Kind::Read, [&](Storage::Transaction& reading) {
        result.clear();
        reading.run(QStringLiteral("SELECT key, content, status, preview FROM items WHERE code = ? AND stored >= ? "
                                   "ORDER BY run, number, key"),
                    {QString::number(code), since}, [&](const QSqlQuery& row) {
                        CollectedItem item;
                        item.key = row.value(0).toString();
                        readContent(row.value(1).toString().toUtf8(), item);
                        item.status = row.value(2).toInt();
                        // A name that is a path would lead out of the folder.
                        const QString name = row.value(3).toString();
                        item.preview = name == QFileInfo(name).fileName() ? name : QString();
                        result.push_back(std::move(item));
                    });
        pictures = missingPictures(reading, result);
        return bool(reading);
    });
    if (!isRead)
        return std::nullopt;
    for (CollectedItem& item : result) {
        if (item.preview.isEmpty())
            continue;
        QString error;
        const auto picture = pictures.find(item.preview);
        if (picture != pictures.end() && !m_previews.write(item.preview, picture->second, error))
            m_report(QStringLiteral("write ") + m_previews.path(item.preview), error,
                     QStringLiteral("free space on the disk, and let this user write there"));
        const QString preview = m_previews.path(item.preview);
        item.preview = QFileInfo(preview).isFile() ? preview : QString();
    }
    return result;
}

/// By the names of their files, which this table has not.
std::map<QString, QByteArray> CollectionDatabase::missingPictures(Storage::Transaction& reading,
                                                                  const std::vector<CollectedItem>& items) const
{
    std::map<QString, QByteArray> result;
    for (const CollectedItem& item : items)
        if (m_place.isShared() && !item.preview.isEmpty() && !QFileInfo(m_previews.path(item.preview)).isFile())
            reading.run(QStringLiteral("SELECT picture FROM item_pictures WHERE key = ?"), {item.key},
                        [&](const QSqlQuery& row) { result[item.preview] = row.value(0).toByteArray(); });
    return result;
}

std::optional<int> CollectionDatabase::removeWhere(const QString& condition, const QVariantList& values, qint64 now)
{
    QStringList previews;
    int count = 0;
    const bool isDone = run(Kind::Write, [&](Storage::Transaction& transaction) {
        CollectionWrite write(transaction, m_runs, now);
        count = write.removeWhere(condition, values);
        previews = write.removedPreviews();
        return bool(transaction);
    });
    if (!isDone)
        return std::nullopt;
    m_previews.remove(previews);
    return count;
}

std::optional<int> CollectionDatabase::removeBefore(qint64 time, qint64 now)
{
    const auto count = removeWhere(QStringLiteral("stored < ?"), {time}, now);
    const bool isForgotten =
        count && run(Kind::Write, [now](Storage::Transaction& writing) {
            return writing.run(QStringLiteral("DELETE FROM removed_items WHERE removed < ?"), {now - kRemovedKeptSeconds});
        });
    // This table has copies of what others have removed.
    return isForgotten && (!m_place.isShared() || removeStrayPreviews()) ? count : std::nullopt;
}

std::optional<int> CollectionDatabase::clear(const std::vector<unsigned long>& codes, qint64 now)
{
    QVariantList values;
    for (const unsigned long code : codes)
        values << QString::number(code);
    if (values.isEmpty())
        return 0;
    return removeWhere(QStringLiteral("code IN ") + Storage::Transaction::rows(1, values.size()), values, now);
}

std::optional<int> CollectionDatabase::clearAll(qint64 now)
{
    return removeWhere(QStringLiteral("code <> ?"), {QString()}, now);
}

std::optional<std::vector<CollectionDatabase::Card>> CollectionDatabase::cards()
{
    std::vector<Card> result;
    const bool isRead = run(Kind::Read, [&result](Storage::Transaction& reading) {
        result.clear();
        return reading.run(QStringLiteral("SELECT code, COUNT(*), MIN(stored), MAX(stored) FROM items GROUP BY code "
                                          "ORDER BY length(code), code"),
                           {}, [&result](const QSqlQuery& row) {
                               result.push_back({row.value(0).toString().toULong(), row.value(1).toInt(),
                                                 row.value(2).toLongLong(), row.value(3).toLongLong()});
                           });
    });
    return isRead ? std::optional(std::move(result)) : std::nullopt;
}

std::optional<std::set<unsigned long>> CollectionDatabase::changedCards()
{
    std::set<unsigned long> result;
    qint64 last = m_seen;
    const bool isRead = run(Kind::Read, [&](Storage::Transaction& reading) {
        result.clear();
        reading.run(QStringLiteral("SELECT last FROM item_changes"), {},
                    [&](const QSqlQuery& row) { last = row.value(0).toLongLong(); });
        for (const char* table : {"items", "removed_items"})
            reading.run(QStringLiteral("SELECT DISTINCT code FROM %1 WHERE changed > ?").arg(QLatin1String(table)), {m_seen},
                        [&result](const QSqlQuery& row) { result.insert(row.value(0).toString().toULong()); });
        return bool(reading);
    });
    if (!isRead)
        return std::nullopt;
    m_seen = last;
    return result;
}

std::optional<CollectionClaim> CollectionDatabase::claim(const QStringList& keys, const QString& owner, qint64 now)
{
    CollectionClaim result;
    const bool isDone = run(Kind::Write, [&](Storage::Transaction& writing) {
        result = {};
        // The clocks of tables may differ by more than a claim lasts.
        if (m_place.isShared())
            writing.run(QStringLiteral("SELECT CAST(EXTRACT(EPOCH FROM now()) AS BIGINT)"), {},
                        [&now](const QSqlQuery& row) { now = row.value(0).toLongLong(); });
        for (const QString& key : keys)
            result.add(writing, key, owner, now);
        return bool(writing);
    });
    return isDone ? std::optional(result) : std::nullopt;
}

bool CollectionDatabase::release(const QStringList& keys, const QString& owner)
{
    return run(Kind::Write, [&](Storage::Transaction& writing) {
        for (const QString& key : keys)
            writing.run(QStringLiteral("UPDATE items SET claimed_until = 0 WHERE key = ? AND claimed_by = ?"), {key, owner});
        return bool(writing);
    });
}
}
