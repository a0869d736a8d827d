#include "collections/CollectionKeeper.hpp"

#include "shared/AfterUpdate.hpp"

#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>

#include <algorithm>
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

CollectionKeeper::CollectionKeeper(unsigned long code, Handlers handlers) : m_code(code), m_handlers(std::move(handlers)) {}

bool CollectionKeeper::hasStore()
{
    return findStore() != nullptr;
}

bool CollectionKeeper::isShared()
{
    const auto store = findStore();
    return store && store->isShared();
}

void CollectionKeeper::read(Reason reason)
{
    const auto store = findStore();
    if (!store)
        return;
    if (m_isReading) {
        m_next = std::max(m_next.value_or(reason), reason);
        return;
    }
    m_isReading = true;
    ++m_reading;
    store->watch(m_code, [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->read(Reason::Changed);
    });
    afterUpdate(folly::makeFutureWith([&] { return store->items(m_code); }),
                [weak = weak_from_this(), reason](folly::Try<std::vector<Item>>&& items) {
                    const auto self = weak.lock();
                    if (!self)
                        return;
                    self->m_isReading = false;
                    if (items.hasValue())
                        self->apply(items.value(), reason);
                    if (const auto next = std::exchange(self->m_next, std::nullopt))
                        self->read(*next);
                });
}

void CollectionKeeper::apply(const std::vector<Item>& items, Reason reason)
{
    std::map<QString, const Item*> stored;
    for (const Item& item : items)
        stored.emplace(item.key, &item);
    removeMissing(stored);
    refreshChanged(stored);
    std::set<QString> known = m_removed;
    for (const auto& entry : m_items)
        known.insert(entry.second.item.key);
    std::vector<Item> missing;
    for (const Item& item : items)
        if (known.insert(item.key).second)
            missing.push_back(item);
    if (!missing.empty())
        m_handlers.restore(missing, reason);
}

void CollectionKeeper::removeMissing(const std::map<QString, const Item*>& stored)
{
    std::vector<long> gone;
    for (const auto& [id, kept] : m_items)
        if (isOlder(kept) && stored.count(kept.item.key) == 0)
            gone.push_back(id);
    for (const long id : gone) {
        const auto node = m_items.extract(id); // a handler may have removed it
        if (!node.empty())
            m_handlers.remove(id);
    }
}

void CollectionKeeper::refreshChanged(const std::map<QString, const Item*>& stored)
{
    std::vector<std::pair<long, Item>> changed;
    for (auto& [id, kept] : m_items) {
        const auto found = stored.find(kept.item.key);
        if (!isOlder(kept) || found == stored.end())
            continue;
        // The store has a copy of the table's own preview.
        Item item = *found->second;
        if (!kept.item.preview.isEmpty())
            item.preview = kept.item.preview;
        if (item.status == kept.item.status && item.preview == kept.item.preview)
            continue;
        kept.item = item;
        changed.emplace_back(id, std::move(item));
    }
    for (const auto& [id, item] : changed)
        m_handlers.refresh(id, item);
}

void CollectionKeeper::added(long id)
{
    const auto store = findStore();
    if (store && m_items.count(id) == 0)
        m_items[id].item.key = store->makeKey();
}

void CollectionKeeper::restored(long id, const Item& item)
{
    m_items[id] = {item, true, m_reading};
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
    kept = {std::move(item), true, m_reading};
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

folly::Future<std::set<long>> CollectionKeeper::claim(const std::set<long>& ids)
{
    QList<QString> keys;
    std::map<QString, long> byKey;
    std::set<long> others;
    for (const long id : ids) {
        const auto found = m_items.find(id);
        if (found == m_items.end() || !found->second.isStored) {
            others.insert(id);
            continue;
        }
        keys.append(found->second.item.key);
        byKey.emplace(found->second.item.key, id);
    }
    const auto store = findStore();
    if (!store || keys.isEmpty())
        return folly::makeFuture(ids);
    return store->claim(keys).thenValue([byKey, others](const QList<QString>& claimed) {
        std::set<long> result = others;
        for (const QString& key : claimed)
            if (const auto found = byKey.find(key); found != byKey.end())
                result.insert(found->second);
        return result;
    });
}

QList<QString> CollectionKeeper::lastingKeys(const std::set<long>& ids) const
{
    QList<QString> keys;
    const auto store = findStore();
    for (const QString& key : storedKeys(ids))
        if (store)
            keys.append(store->lastingKey(key));
    return keys;
}

void CollectionKeeper::release(const std::set<long>& ids)
{
    const QList<QString> keys = storedKeys(ids);
    if (const auto store = findStore(); store && !keys.isEmpty())
        store->release(keys);
}

QList<QString> CollectionKeeper::storedKeys(const std::set<long>& ids) const
{
    QList<QString> keys;
    for (const long id : ids)
        if (const auto found = m_items.find(id); found != m_items.end() && found->second.isStored)
            keys.append(found->second.item.key);
    return keys;
}
}
