#pragma once

#include <Tavola/CollectionStoreAPI.hpp>

#include <QString>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace Tavola
{
/// Has the host's collection store keep the items of one card, and reads them back. An item has an id at the table, which ends
/// with the program, and a key in the store, which it gets when it is added: two items of the same content stay two. Where the
/// presentation has no store, nothing happens. Main thread only.
class CollectionKeeper final : public std::enable_shared_from_this<CollectionKeeper>
{
public:
    using Item = CollectionStoreAPI::CollectedItem;
    /// Called after an update with the items that the store has and the table has not, in their order. Calls `restored` for each.
    using Restore = std::function<void(const std::vector<Item>& items)>;

    CollectionKeeper(unsigned long code, Restore restore);

    /// Whether the presentation has a store.
    [[nodiscard]] static bool hasStore();

    /// Reads the store and restores what is missing, after the update of a coming frame. A store that cannot be read changes
    /// nothing.
    void read();

    void added(long id);
    void restored(long id, const Item& item);
    /// Stores an item of this table, unless it is stored just so. `item`'s key is not used.
    void changed(long id, Item item);
    /// The item was removed: by its owner, or because it was sent.
    void removed(long id);
    /// The item left the table, but stays in the store.
    void left(long id);

private:
    struct Kept
    {
        Item item; ///< as it was stored last
        bool isStored = false;
    };

    void restoreMissing(const std::vector<Item>& items);

    const std::uint64_t m_code;
    const Restore m_restore;
    std::map<long, Kept> m_items;
    std::set<QString> m_removed; ///< keys that an answer under way may still name
    bool m_isReading = false;
    bool m_readsAgain = false;
};
}
