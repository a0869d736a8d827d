#pragma once

#include "services/collections/CollectionDatabase.hpp"

#include <Storage/Transaction.hpp>

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace Host
{
/// One transaction of a CollectionDatabase that changes items. Lives for one call of the store's job. After the first failure
/// every call does nothing.
class CollectionWrite
{
public:
    /// The picture of an item that is stored.
    struct Preview
    {
        QString name;       ///< of its file; empty without one
        QByteArray content; ///< for the database; null: it has it, or keeps none
    };

    /// `runs`: that are known. `now`: in seconds since 1970.
    CollectionWrite(Storage::Transaction& transaction, CollectionRuns runs, qint64 now);

    void apply(const CollectionDatabase::Change& change, const Preview& preview);
    /// Removes the items for which a condition with these values holds. Returns how many.
    int removeWhere(const QString& condition, const QVariantList& values);

    /// Names of files that no item needs any more.
    [[nodiscard]] const QStringList& removedPreviews() const noexcept { return m_removedPreviews; }
    /// Those of the constructor, and those whose first new item was written.
    [[nodiscard]] const CollectionRuns& runs() const noexcept { return m_runs; }

private:
    [[nodiscard]] qint64 runOf(const QString& key);
    [[nodiscard]] bool wasRemoved(const QString& key);
    void add(const CollectionDatabase::Change& change, const Preview& preview);
    void update(const CollectionDatabase::Change& change, const Preview& preview);
    void remove(const CollectionDatabase::Change& change);
    void keep(const QString& key, const Preview& preview);

    Storage::Transaction& m_transaction;
    CollectionRuns m_runs;
    const qint64 m_now;
    qint64 m_number = 0; ///< of this transaction, among those that write
    QStringList m_removedPreviews;
};
}
