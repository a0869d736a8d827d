#include "collections/CollectionKeeper.hpp"

#include "shared/AfterUpdate.hpp"

#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>

#include <utility>

namespace Tavola
{
namespace
{
std::shared_ptr<CollectionStoreAPI> findStore()
{
    const auto application = Tavola::instance();
    return application ? application->services()->collectionStore() : nullptr;
}
}

CollectionKeeper::CollectionKeeper(unsigned long code, Restore restore) : m_code(code), m_restore(std::move(restore)) {}

bool CollectionKeeper::hasStore()
{
    return findStore() != nullptr;
}

void CollectionKeeper::read()
{
    const auto store = findStore();
    if (!store)
        return;
    if (m_isReading) {
        m_readsAgain = true;
        return;
    }
    m_isReading = true;
    afterUpdate(folly::makeFutureWith([&] { return store->items(m_code); }),
                [weak = weak_from_this()](folly::Try<std::vector<Item>>&& items) {
                    const auto self = weak.lock();
                    if (!self)
                        return;
                    self->m_isReading = false;
                    if (items.hasValue())
                        self->restoreMissing(items.value());
                    if (std::exchange(self->m_readsAgain, false))
                        self->read();
                });
}

void CollectionKeeper::restoreMissing(const std::vector<Item>& items)
{
    std::set<QString> known = m_removed;
    for (const auto& entry : m_items)
        known.insert(entry.second.item.key);
    std::vector<Item> missing;
    for (const Item& item : items)
        if (known.insert(item.key).second)
            missing.push_back(item);
    if (!missing.empty())
        m_restore(missing);
}

void CollectionKeeper::added(long id)
{
    const auto store = findStore();
    if (store && m_items.count(id) == 0)
        m_items[id].item.key = store->makeKey();
}

void CollectionKeeper::restored(long id, const Item& item)
{
    m_items[id] = {item, true};
}

void CollectionKeeper::changed(long id, Item item)
{
    const auto store = findStore();
    const auto found = m_items.find(id);
    if (!store || found == m_items.end())
        return;
    Kept& kept = found->second;
    item.key = kept.item.key;
    if (kept.isStored && kept.item == item)
        return;
    if (kept.isStored)
        store->update(m_code, item);
    else
        store->add(m_code, item);
    kept = {std::move(item), true};
}

void CollectionKeeper::removed(long id)
{
    const auto node = m_items.extract(id);
    if (node.empty())
        return;
    const Kept& kept = node.mapped();
    m_removed.insert(kept.item.key);
    const auto store = findStore();
    if (store && kept.isStored)
        store->remove(m_code, kept.item.key);
}

void CollectionKeeper::left(long id)
{
    m_items.erase(id);
}
}
