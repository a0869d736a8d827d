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

    /// `ownRun`: of this program; 0 when it has none yet. `now`: in seconds since 1970.
    CollectionWrite(Storage::Transaction& transaction, qint64 ownRun, qint64 now);

    void apply(const CollectionDatabase::Change& change, const Preview& preview);
    /// Removes the items for which a condition with these values holds. Returns how many.
    int removeWhere(const QString& condition, const QVariantList& values);

    /// Names of files that no item needs any more.
    [[nodiscard]] const QStringList& removedPreviews() const noexcept { return m_removedPreviews; }
    /// That of the constructor, or the one that the first new item has got.
    [[nodiscard]] qint64 ownRun() const noexcept { return m_ownRun; }

private:
    [[nodiscard]] bool wasRemoved(const QString& key);
    void add(const CollectionDatabase::Change& change, const Preview& preview);
    void update(const CollectionDatabase::Change& change, const Preview& preview);
    void remove(const CollectionDatabase::Change& change);
    void keep(const QString& key, const Preview& preview);

    Storage::Transaction& m_transaction;
    qint64 m_ownRun;
    const qint64 m_now;
    qint64 m_number = 0; ///< of this transaction, among those that write
    QStringList m_removedPreviews;
};
}
