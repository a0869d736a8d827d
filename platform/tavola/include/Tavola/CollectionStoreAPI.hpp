#pragma once

#include <Bedrock/Export.hpp>

#include <QList>
#include <QString>

#include <folly/futures/Future.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace Tavola
{
/// Keeps what cards have collected over restarts and power cuts. A presentation without a store keeps it as long as the table is
/// open; see ServiceProvider::collectionStore. Changes take effect in the order of the calls, which return at once; one that
/// fails is logged by the store and tried again. Main thread only.
class TAVOLA_EXPORT CollectionStoreAPI
{
public:
    /// One collected item: what FileRepresentation::FileData names, and what the table shows of it. A plain record.
    struct CollectedItem
    {
        QString key; ///< of makeKey
        QString file;
        QList<QString> sources;
        QList<QString> files;
        QString displayName;
        QString url;
        QString preview;         ///< path of a picture; empty without one
        std::int32_t status = 0; ///< a number of the plug-in's own

        friend bool operator==(const CollectedItem& a, const CollectedItem& b)
        {
            return a.key == b.key && a.file == b.file && a.sources == b.sources && a.files == b.files
                && a.displayName == b.displayName && a.url == b.url && a.preview == b.preview && a.status == b.status;
        }
        friend bool operator!=(const CollectedItem& a, const CollectedItem& b) { return !(a == b); }
    };

    /// The identity of a new item, whatever its content. Items are returned in the order in which their keys were made, those of
    /// earlier runs first.
    [[nodiscard]] virtual QString makeKey() = 0;
    /// The key of an item as later programs have it, in which makeKey() gives the same ones again.
    [[nodiscard]] virtual QString lastingKey(const QString& key) const = 0;
    /// What the store keeps for a card. Completed on the main thread, in the input step of a later frame; fails when the store
    /// cannot be read, which it logs. A preview is a file of the store, which stays as long as the item.
    [[nodiscard]] virtual folly::Future<std::vector<CollectedItem>> items(unsigned long code) = 0;
    /// Keeps a new item. Its preview is copied, so the file may go when the application ends.
    virtual void add(unsigned long code, const CollectedItem& item) = 0;
    /// Replaces an item that was added. One that was removed meanwhile, by this table or another program, stays removed.
    virtual void update(unsigned long code, const CollectedItem& item) = 0;
    virtual void remove(unsigned long code, const QString& key) = 0;

    /// Whether other tables keep there what cards collect at them. Then a card's items may change at any time: watch() it.
    [[nodiscard]] virtual bool isShared() const = 0;
    /// Calls `changed` on the main thread, in the input step of a frame, when a card's items may have been changed by another
    /// table: read them again. In place of an earlier one for that card; kept as long as the store. Does nothing in a store that
    /// is not shared.
    virtual void watch(unsigned long code, std::function<void()> changed) = 0;
    /// Asks for the right to send items. Completed as items(), with the keys of those that this table alone may send, once it
    /// is certain that the others are sent or removed: at once, or as soon as the table that sends them has removed them, or when
    /// it has not done so for a minute. Another table may claim them a minute after this one.
    [[nodiscard]] virtual folly::Future<QList<QString>> claim(const QList<QString>& keys) = 0;
    /// Gives up the right to send items, which have not been sent: another table that waits for them may send them at once.
    virtual void release(const QList<QString>& keys) = 0;
    virtual ~CollectionStoreAPI();
};
}
