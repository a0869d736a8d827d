#include "personalspace/PersonalSpaceContents.hpp"

#include "shared/IdPayload.hpp"

#include <Bedrock/BinaryData.hpp>
#include <Bedrock/FlagGuard.hpp>

#include <cstdint>
#include <utility>
#include <vector>

namespace Tavola
{
namespace
{
using Registry = std::map<std::uint64_t, std::shared_ptr<PersonalSpaceContents>>;

/// Entries are never removed.
Registry& registry()
{
    static Registry contentsByCode;
    return contentsByCode;
}
}

std::shared_ptr<PersonalSpaceContents> PersonalSpaceContents::personalContent(unsigned long code)
{
    auto& contents = registry()[code];
    if (!contents)
        contents = std::make_shared<PersonalSpaceContents>();
    return contents;
}

void PersonalSpaceContents::removeItems(unsigned long code)
{
    const auto found = registry().find(code);
    if (found != registry().end())
        found->second->removeItems();
}

PersonalSpaceContents::PersonalSpaceContents()
{
    eventAddOut("item-added");
    eventAddOut("item-removed");
    eventAddOut("preview-ready");
    eventAddOut("files-ready");
    eventAddOut("user-page-changed");
    eventAddOut("item-status-changed");
}

PersonalSpaceContents::~PersonalSpaceContents() = default;

long PersonalSpaceContents::addItem(Item item)
{
    const long id = generateId();
    m_items.emplace(id, std::move(item));
    auto data = idPayload(id);
    eventSend("item-added", data);
    return id;
}

long PersonalSpaceContents::idsForRestored(std::size_t count)
{
    static long lowest = 0;
    lowest -= static_cast<long>(count);
    return lowest;
}

void PersonalSpaceContents::restoreItem(long id, Item item)
{
    m_items.emplace(id, std::move(item));
    auto data = idPayload(id);
    eventSend("item-added", data);
}

void PersonalSpaceContents::removeItem(long id)
{
    if (m_items.erase(id) == 0)
        return;
    auto data = idPayload(id);
    eventSend("item-removed", data);
}

void PersonalSpaceContents::removeItems()
{
    std::vector<long> ids;
    ids.reserve(m_items.size());
    for (const auto& entry : m_items)
        ids.push_back(entry.first);
    // By id, since a listener may remove and add items.
    for (const long id : ids)
        removeItem(id);
}

void PersonalSpaceContents::filesReady(long id, const FileRepresentation::FileData& files)
{
    Item* item = findItem(id);
    if (!item)
        return;
    item->files = files;
    item->status = ItemStatus::Ready;
    auto data = idPayload(id);
    eventSend("files-ready", data);
}

void PersonalSpaceContents::previewReady(long id, const QString& path)
{
    Item* item = findItem(id);
    if (!item)
        return;
    item->preview = path;
    auto data = idPayload(id);
    data.writeString(path);
    eventSend("preview-ready", data);
}

void PersonalSpaceContents::setItemStatus(ItemStatus status, long id)
{
    Item* item = findItem(id);
    if (!item)
        return;
    item->status = status;
    auto data = idPayload(id);
    data.writeInt32(static_cast<std::int32_t>(status));
    eventSend("item-status-changed", data);
}

void PersonalSpaceContents::setUserPage(const UserPage& page)
{
    // An empty address never removes the items: visitors keep them while the server cannot be reached.
    if (!m_userPage.url.isEmpty() && !page.url.isEmpty() && m_userPage.url != page.url) {
        const Bedrock::FlagGuard switching(m_isSwitchingPage);
        removeItems();
    }
    m_userPage = page;
    eventSend("user-page-changed");
}

PersonalSpaceContents::Item PersonalSpaceContents::item(long id) const
{
    const auto found = m_items.find(id);
    return found == m_items.end() ? Item() : found->second;
}

PersonalSpaceContents::Item* PersonalSpaceContents::findItem(long id)
{
    const auto found = m_items.find(id);
    return found == m_items.end() ? nullptr : &found->second;
}
}
