#include "services/collections/CollectionWrite.hpp"

#include <utility>

namespace Host
{
CollectionWrite::CollectionWrite(Storage::Transaction& transaction, CollectionRuns runs, qint64 now)
    : m_transaction(transaction), m_runs(std::move(runs)), m_now(now)
{
    m_transaction.run(QStringLiteral("UPDATE item_changes SET last = last + 1"));
    m_transaction.run(QStringLiteral("SELECT last FROM item_changes"), {},
                      [this](const QSqlQuery& row) { m_number = row.value(0).toLongLong(); });
}

void CollectionWrite::apply(const CollectionDatabase::Change& change, const Preview& preview)
{
    using Kind = CollectionDatabase::Change::Kind;
    switch (change.kind) {
    case Kind::Add: return add(change, preview);
    case Kind::Update: return update(change, preview);
    case Kind::Remove: return remove(change);
    }
}

qint64 CollectionWrite::runOf(const QString& key)
{
    qint64& run = m_runs[key.left(key.lastIndexOf(QLatin1Char('-')))];
    if (run == 0)
        m_transaction.run(QStringLiteral("SELECT COALESCE(MAX(run), 0) + 1 FROM items WHERE run > 0"), {},
                          [&run](const QSqlQuery& row) { run = row.value(0).toLongLong(); });
    return run;
}

bool CollectionWrite::wasRemoved(const QString& key)
{
    bool isRemoved = false;
    m_transaction.run(QStringLiteral("SELECT 1 FROM removed_items WHERE key = ?"), {key},
                      [&isRemoved](const QSqlQuery&) { isRemoved = true; });
    return isRemoved;
}

void CollectionWrite::add(const CollectionDatabase::Change& change, const Preview& preview)
{
    const CollectedItem& item = change.item;
    if (wasRemoved(item.key)) {
        m_removedPreviews << preview.name;
        return;
    }
    m_transaction.run(QStringLiteral("INSERT INTO items (key, code, run, number, stored, content, status, preview, changed) "
                                     "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (key) DO UPDATE SET "
                                     "content = excluded.content, status = excluded.status, preview = excluded.preview, "
                                     "changed = excluded.changed"),
                      {item.key, QString::number(change.code), runOf(item.key), CollectionDatabase::numberOf(item.key), m_now,
                       QString::fromUtf8(formatContent(item)), item.status, preview.name, m_number});
    keep(item.key, preview);
}

void CollectionWrite::update(const CollectionDatabase::Change& change, const Preview& preview)
{
    // A table that lacks the picture leaves it to the others.
    const CollectedItem& item = change.item;
    const bool hasPreview = !preview.name.isEmpty();
    QVariantList values{QString::fromUtf8(formatContent(item)), item.status, m_number};
    if (hasPreview)
        values << preview.name;
    values << item.key;
    m_transaction.run(QStringLiteral("UPDATE items SET content = ?, status = ?, changed = ?%1 WHERE key = ?")
                          .arg(hasPreview ? QLatin1String(", preview = ?") : QLatin1String()),
                      values);
    if (m_transaction && m_transaction.changedRows() == 0)
        m_removedPreviews << preview.name; // goes with the item, which another program has removed
    else
        keep(item.key, preview);
}

void CollectionWrite::remove(const CollectionDatabase::Change& change)
{
    const QString& key = change.item.key;
    (void)removeWhere(QStringLiteral("key = ?"), {key});
    // Also one that was never stored: its table may be storing it just now.
    m_transaction.run(QStringLiteral("INSERT INTO removed_items (key, code, changed, removed) VALUES (?, ?, ?, ?) "
                                     "ON CONFLICT (key) DO NOTHING"),
                      {key, QString::number(change.code), m_number, m_now});
}

void CollectionWrite::keep(const QString& key, const Preview& preview)
{
    if (!preview.content.isNull())
        m_transaction.run(QStringLiteral("INSERT INTO item_pictures (key, picture) VALUES (?, ?) "
                                         "ON CONFLICT (key) DO UPDATE SET picture = excluded.picture"),
                          {key, preview.content});
}

int CollectionWrite::removeWhere(const QString& condition, const QVariantList& values)
{
    m_transaction.run(QStringLiteral("SELECT preview FROM items WHERE ") + condition, values,
                      [this](const QSqlQuery& row) { m_removedPreviews << row.value(0).toString(); });
    m_transaction.run(QStringLiteral("INSERT INTO removed_items (key, code, changed, removed) "
                                     "SELECT key, code, CAST(? AS BIGINT), CAST(? AS BIGINT) FROM items WHERE ")
                          + condition + QStringLiteral(" ON CONFLICT (key) DO NOTHING"),
                      QVariantList{m_number, m_now} + values);
    m_transaction.run(QStringLiteral("DELETE FROM item_pictures WHERE key IN (SELECT key FROM items WHERE ") + condition
                          + QLatin1Char(')'),
                      values);
    m_transaction.run(QStringLiteral("DELETE FROM items WHERE ") + condition, values);
    return m_transaction ? m_transaction.changedRows() : 0;
}
}
