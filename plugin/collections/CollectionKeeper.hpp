#pragma once

#include <Tavola/CollectionStoreAPI.hpp>

#include <QList>
#include <QString>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace Tavola
{
/// Has the host's collection store keep the items of one card, and reads them back. An item has an id at the table, which ends
/// with the program, and a key in the store, which it gets when it is added: two items of the same content stay two. What other
/// tables change in a store that is shared is read at once. Where the presentation has no store, nothing happens. Main thread
/// only.
class CollectionKeeper final : public std::enable_shared_from_this<CollectionKeeper>
{
public:
    using Item = CollectionStoreAPI::CollectedItem;
    /// Why the store is read.
    enum class Reason {
        Changed, ///< another table has changed the card's items
        Opened   ///< a space has opened, or has lost its items
    };
    /// Called after an update, with the differences between the store and the table.
    struct Handlers
    {
        /// Items that the table lacks, in their order. Calls `restored` for each.
        std::function<void(const std::vector<Item>& items, Reason reason)> restore;
        /// An item that is no longer in the store, which the keeper has forgotten.
        std::function<void(long id)> remove;
        /// An item whose status or preview has changed.
        std::function<void(long id, const Item& item)> refresh;
    };

    CollectionKeeper(unsigned long code, Handlers handlers);

    /// Whether the presentation has a store.
    [[nodiscard]] static bool hasStore();
    /// Whether it has one that other tables use, too.
    [[nodiscard]] static bool isShared();

    /// Reads the store and has the table show the same, after the update of a coming frame. A store that cannot be read changes
    /// nothing; nor does what was read about an item that was changed here meanwhile.
    void read(Reason reason = Reason::Opened);

    void added(long id);
    void restored(long id, const Item& item);
    /// Stores an item of this table, unless it is stored just so. `item`'s key is not used.
    void changed(long id, Item item);
    /// The item was removed: by its owner, or because it was sent.
    void removed(long id);
    /// The item left the table, but stays in the store.
    void left(long id);
    /// Answers with those of the items that this table alone may send now; see CollectionStoreAPI::claim. An item that is not
    /// stored is among them. Fails when the store does not answer. Without a store, all of them.
    [[nodiscard]] folly::Future<std::set<long>> claim(const std::set<long>& ids);
    /// The keys of those that are stored, as later programs have them.
    [[nodiscard]] QList<QString> lastingKeys(const std::set<long>& ids) const;
    /// These items were not sent: another table may send them.
    void release(const std::set<long>& ids);

private:
    struct Kept
    {
        Item item; ///< as it was stored last
        bool isStored = false;
        int reading = 0; ///< the number of the last reading that had begun then
    };

    [[nodiscard]] QList<QString> storedKeys(const std::set<long>& ids) const;
    void apply(const std::vector<Item>& items, Reason reason);
    void removeMissing(const std::map<QString, const Item*>& stored);
    void refreshChanged(const std::map<QString, const Item*>& stored);
    /// Whether the answer of this reading is newer than what the table has done to the item.
    [[nodiscard]] bool isOlder(const Kept& kept) const { return kept.isStored && kept.reading < m_reading; }

    const std::uint64_t m_code;
    const Handlers m_handlers;
    std::map<long, Kept> m_items;
    std::set<QString> m_removed; ///< keys that an answer under way may still name
    int m_reading = 0;           ///< number of the last reading
    bool m_isReading = false;
    std::optional<Reason> m_next; ///< of the reading after that
};
}
