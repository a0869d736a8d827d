#include "personalspace/KeptContents.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Bedrock/FlagGuard.hpp>

#include <cstdint>
#include <map>
#include <utility>

namespace Tavola
{
namespace
{
using ItemStatus = PersonalSpaceContents::ItemStatus;

/// By the cards' codes. Entries are never removed.
std::map<std::uint64_t, std::unique_ptr<KeptContents>>& keptByCode()
{
    static std::map<std::uint64_t, std::unique_ptr<KeptContents>> known;
    return known;
}

/// Nothing waits for an answer of the media server after a restart.
ItemStatus afterRestart(ItemStatus status)
{
    return status == ItemStatus::Uploading ? ItemStatus::Ready : status;
}
}

void KeptContents::open(unsigned long code)
{
    if (!CollectionKeeper::hasStore())
        return;
    auto& kept = keptByCode()[code];
    if (!kept)
        kept = std::make_unique<KeptContents>(code);
    kept->m_uploads.retry();
    kept->m_keeper->read();
}

SharedUploads* KeptContents::uploads(unsigned long code)
{
    const auto known = keptByCode().find(code);
    return known == keptByCode().end() ? nullptr : &known->second->m_uploads;
}

folly::Future<std::set<long>> KeptContents::claim(unsigned long code, const std::set<long>& ids)
{
    const auto known = keptByCode().find(code);
    return known == keptByCode().end() ? folly::makeFuture(ids) : known->second->m_keeper->claim(ids);
}

QList<QString> KeptContents::lastingKeys(unsigned long code, const std::set<long>& ids)
{
    const auto known = keptByCode().find(code);
    return known == keptByCode().end() ? QList<QString>() : known->second->m_keeper->lastingKeys(ids);
}

void KeptContents::release(unsigned long code, const std::set<long>& ids)
{
    if (const auto known = keptByCode().find(code); known != keptByCode().end())
        known->second->m_keeper->release(ids);
}

KeptContents::KeptContents(unsigned long code)
    : m_code(code), m_contents(PersonalSpaceContents::personalContent(code)),
      m_keeper(std::make_shared<CollectionKeeper>(
          code,
          CollectionKeeper::Handlers{[this](const std::vector<CollectionKeeper::Item>& items, CollectionKeeper::Reason reason) {
                                         restore(items, reason);
                                     },
                                     [this](long id) { removedElsewhere(id); },
                                     [this](long id, const CollectionKeeper::Item& item) { refresh(id, item); }})),
      m_uploads(code)
{
    listen();
    for (const auto& entry : m_contents->items()) {
        m_keeper->added(entry.first);
        store(entry.first);
    }
}

KeptContents::~KeptContents()
{
    for (const auto listener : m_listeners)
        m_contents->eventRemoveListener(listener);
}

void KeptContents::listen()
{
    const auto on = [this](const char* event, void (KeptContents::*handler)(long id)) {
        m_listeners.push_back(m_contents->eventAddListenerBd(
            event, [this, handler](Bedrock::BinaryData& data) { (this->*handler)(data.readInt64()); }, Facet::Node::kImmediate));
    };
    m_listeners.push_back(m_contents->eventAddListenerBd(
        "item-added", [this](Bedrock::BinaryData& data) { m_keeper->added(data.readInt64()); }, Facet::Node::kImmediate));
    on("item-removed", &KeptContents::removed);
    on("files-ready", &KeptContents::store);
    on("preview-ready", &KeptContents::store);
    on("item-status-changed", &KeptContents::statusChanged);
    m_listeners.push_back(m_contents->eventAddListener(
        "user-page-changed",
        [this] {
            if (std::exchange(m_hasLeft, false))
                m_keeper->read();
        },
        Facet::Node::kImmediate));
}

void KeptContents::removed(long id)
{
    m_endings.erase(id);
    if (!m_contents->isSwitchingPage()) {
        m_keeper->removed(id);
        return;
    }
    m_keeper->left(id);
    m_hasLeft = true;
}

void KeptContents::store(long id)
{
    const PersonalSpaceContents::Item item = m_contents->item(id);
    if (m_isRestoring || item.status == ItemStatus::Pending)
        return;
    CollectionKeeper::Item stored;
    stored.file = item.files.file;
    stored.sources = item.files.sources;
    stored.files = item.files.files;
    stored.displayName = item.files.displayName;
    stored.url = item.files.url;
    stored.preview = item.preview;
    stored.status = static_cast<std::int32_t>(afterRestart(item.status));
    m_keeper->changed(id, std::move(stored));
}

void KeptContents::statusChanged(long id)
{
    store(id);
    const PersonalSpaceContents::Item item = m_contents->item(id);
    const ItemStatus status = item.status;
    if (status == ItemStatus::Uploaded && !m_isRestoring)
        m_uploads.given(parseFiles(item));
    if (status == ItemStatus::Uploading || m_endings.count(id) == 0)
        return;
    // The server has it by now, and its owner has removed it.
    PersonalSpaceUploader(m_code).removeItem(id);
    m_contents->removeItem(id);
}

void KeptContents::removedElsewhere(long id)
{
    const PersonalSpaceContents::Item item = m_contents->item(id);
    if (item.status == ItemStatus::Uploading) {
        m_endings.insert(id);
        return;
    }
    m_contents->removeItem(id);
    m_uploads.removedElsewhere(parseFiles(item));
}

void KeptContents::refresh(long id, const CollectionKeeper::Item& stored)
{
    const PersonalSpaceContents::Item item = m_contents->item(id);
    {
        const Bedrock::FlagGuard restoring(m_isRestoring);
        if (item.preview.isEmpty() && !stored.preview.isEmpty())
            m_contents->previewReady(id, stored.preview);
        const auto status = static_cast<ItemStatus>(stored.status);
        // What this table has uploaded, or is uploading, is not undone by another one that failed to.
        const bool isOwnMatter = item.status == ItemStatus::Uploading || item.status == ItemStatus::Uploaded;
        if (item.status != status && !isOwnMatter)
            m_contents->setItemStatus(status, id);
    }
    store(id);
}

void KeptContents::restore(const std::vector<CollectionKeeper::Item>& items, CollectionKeeper::Reason reason)
{
    long id = PersonalSpaceContents::idsForRestored(items.size());
    for (const CollectionKeeper::Item& item : items)
        restore(id++, item, reason);
}

void KeptContents::restore(long id, const CollectionKeeper::Item& stored, CollectionKeeper::Reason reason)
{
    m_keeper->restored(id, stored);
    {
        const Bedrock::FlagGuard restoring(m_isRestoring);
        PersonalSpaceContents::Item item;
        item.files = {stored.file, stored.sources, stored.files, stored.displayName, stored.url};
        item.preview = stored.preview;
        item.status = static_cast<ItemStatus>(stored.status);
        m_contents->restoreItem(id, item);
        if (!item.preview.isEmpty())
            m_contents->previewReady(id, item.preview);
        // A space in upload mode uploads what is Ready by this event, also what has failed before.
        if (item.status != ItemStatus::Uploaded && reason == CollectionKeeper::Reason::Opened)
            m_contents->filesReady(id, item.files);
        else if (item.status == ItemStatus::Failed)
            m_contents->setItemStatus(ItemStatus::Failed, id);
        if (m_contents->item(id).status == ItemStatus::Ready && item.status == ItemStatus::Failed)
            m_contents->setItemStatus(ItemStatus::Failed, id);
        if (item.status == ItemStatus::Uploaded)
            m_contents->setItemStatus(ItemStatus::Uploaded, id);
    }
    store(id);
    m_uploads.appeared(parseFiles(m_contents->item(id)));
}
}
