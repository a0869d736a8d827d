#include "services/collections/CollectionImport.hpp"

#include "services/collections/CollectionPreviews.hpp"
#include "services/collections/CollectionSchema.hpp"

#include <Storage/Store.hpp>

#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace Host
{
namespace
{
using StoreKind = Storage::Store::Kind;

/// With their pictures: of a few megabytes together.
constexpr int kItemsAtOnce = 100;
constexpr int kValuesOfItem = 9;
/// Runs of the shared database are counted from 1, so imported ones come before them.
constexpr qint64 kBeforeAllRuns = -1'000'000'000;
/// Tables write meanwhile.
constexpr std::chrono::seconds kImportDeadline{30};

struct Row
{
    QString key;
    QString preview;
    QVariantList values; ///< for the columns of kColumns but the last one
};

const QString kColumns = QStringLiteral("key, code, run, number, stored, content, status, preview");

tl::expected<std::unique_ptr<Storage::Store>, QString> openStore(const Storage::Address& address)
{
    Storage::Store::Settings settings;
    settings.deadline = kImportDeadline;
    return Storage::Store::open(address, collectionSchema(), settings);
}

bool readRows(Storage::Transaction& reading, const QString& after, std::vector<Row>& rows)
{
    rows.clear();
    return reading.run(QStringLiteral("SELECT %1 FROM items WHERE key > ? ORDER BY key LIMIT ?").arg(kColumns),
                       {after, kItemsAtOnce}, [&rows](const QSqlQuery& row) {
                           Row read;
                           for (int i = 0; i + 1 < kValuesOfItem; ++i)
                               read.values << row.value(i);
                           read.values[2] = row.value(2).toLongLong() + kBeforeAllRuns;
                           read.key = row.value(0).toString();
                           read.preview = row.value(7).toString();
                           rows.push_back(std::move(read));
                       });
}

std::set<QString> removedOf(Storage::Transaction& writing, const std::vector<Row>& rows)
{
    QVariantList keys;
    for (const Row& row : rows)
        keys << row.key;
    std::set<QString> removed;
    writing.run(QStringLiteral("SELECT key FROM removed_items WHERE key IN ") + Storage::Transaction::rows(1, keys.size()), keys,
                [&removed](const QSqlQuery& row) { removed.insert(row.value(0).toString()); });
    return removed;
}

void writePictures(Storage::Transaction& writing, const std::vector<Row>& rows, const std::set<QString>& removed,
                   const CollectionPreviews& previews)
{
    for (const Row& row : rows) {
        QFile file(previews.path(row.preview));
        if (row.preview.isEmpty() || row.preview != QFileInfo(row.preview).fileName() || removed.count(row.key) > 0
            || !file.open(QIODevice::ReadOnly))
            continue;
        writing.run(QStringLiteral("INSERT INTO item_pictures (key, picture) SELECT ?, ? WHERE EXISTS "
                                   "(SELECT 1 FROM items WHERE key = ?) ON CONFLICT (key) DO NOTHING"),
                    {row.key, file.readAll(), row.key});
    }
}

/// How many were added; the outcome is that of the transaction.
int writeRows(Storage::Transaction& writing, const std::vector<Row>& rows, const CollectionPreviews& previews)
{
    const std::set<QString> removed = removedOf(writing, rows);
    writing.run(QStringLiteral("UPDATE item_changes SET last = last + 1"));
    qint64 number = 0;
    writing.run(QStringLiteral("SELECT last FROM item_changes"), {},
                [&number](const QSqlQuery& row) { number = row.value(0).toLongLong(); });
    QVariantList values;
    int count = 0;
    for (const Row& row : rows) {
        if (removed.count(row.key) > 0)
            continue;
        values << row.values << number;
        ++count;
    }
    if (count == 0)
        return 0;
    writing.run(QStringLiteral("INSERT INTO items (%1, changed) VALUES ").arg(kColumns)
                    + Storage::Transaction::rows(count, kValuesOfItem) + QStringLiteral(" ON CONFLICT (key) DO NOTHING"),
                values);
    const int added = writing ? writing.changedRows() : 0;
    writePictures(writing, rows, removed, previews);
    return added;
}
}

tl::expected<CollectionImport, QString> CollectionImport::run(const QString& file, const CollectionPlace& to)
{
    const auto from = CollectionPlace::of({}, file);
    const auto source = openStore(from->address);
    if (!source)
        return tl::unexpected(source.error());
    const auto target = openStore(to.address);
    if (!target)
        return tl::unexpected(target.error());
    const CollectionPreviews previews(from->previews);
    CollectionImport result;
    std::vector<Row> rows;
    for (QString after;; after = rows.back().key) {
        const auto isRead =
            (*source)->run(StoreKind::Read, [&](Storage::Transaction& reading) { return readRows(reading, after, rows); });
        if (!isRead)
            return tl::unexpected(QStringLiteral("%1 cannot be read (%2)").arg(file, isRead.error().text()));
        if (rows.empty())
            return result;
        int added = 0;
        const auto isWritten = (*target)->run(StoreKind::Write, [&](Storage::Transaction& writing) {
            added = writeRows(writing, rows, previews);
            return bool(writing);
        });
        if (!isWritten)
            return tl::unexpected(QStringLiteral("%1 cannot be written (%2)").arg(to.address.shown(), isWritten.error().text()));
        result.added += added;
        result.known += static_cast<int>(rows.size()) - added;
    }
}
}
