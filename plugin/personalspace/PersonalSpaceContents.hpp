#pragma once

#include "server/PersonalSpaceUploader.hpp"

#include <Facet/Node.hpp>
#include <Tavola/FileRepresentation.hpp>

#include <QString>

#include <cstddef>
#include <map>
#include <memory>

namespace Tavola
{
/// The items that the owner of one card has collected, and the owner's user page. There is one object for each card code, kept as
/// long as the plug-in is loaded, so that a space closed and opened again shows the same items. Holds no widgets and does no
/// network work. Every change sends an event, inside the call:
///
///     "item-added"           item id (int64)
///     "item-removed"         item id (int64)
///     "preview-ready"        item id (int64), path (string)
///     "files-ready"          item id (int64)
///     "user-page-changed"    nothing
///     "item-status-changed"  item id (int64), status (int32)
///
/// Calls for an unknown item are ignored. Main thread only.
class PersonalSpaceContents final : public Facet::Node
{
public:
    using ItemStatus = PersonalSpaceUploader::ItemStatus;
    using UserPage = PersonalSpaceUploader::UserPage;

    struct Item
    {
        FileRepresentation::FileData files; ///< empty until they are ready
        QString preview;                    ///< path of a picture; empty until it is ready
        long widgetId = 0;                  ///< node id of the widget that was collected
        ItemStatus status = ItemStatus::Pending;
    };

    /// The contents of a card, made on first use. Never null.
    [[nodiscard]] static std::shared_ptr<PersonalSpaceContents> personalContent(unsigned long code);
    /// Removes all items of a card; creates no contents for a card without any.
    static void removeItems(unsigned long code);

    PersonalSpaceContents();
    ~PersonalSpaceContents() override;

    /// The item's id, greater than those of all items before it.
    long addItem(Item item);
    /// The first of `count` ids in a row that no item has had. They are below those of addItem, so that what was collected before
    /// a restart comes first.
    [[nodiscard]] static long idsForRestored(std::size_t count);
    /// Adds an item that was collected earlier under an id of idsForRestored. Sends "item-added".
    void restoreItem(long id, Item item);
    void removeItem(long id);
    /// In ascending order of ids; the event of each is sent right after its removal.
    void removeItems();

    /// Stores the files and makes the item Ready. Sends "files-ready" only, not "item-status-changed".
    void filesReady(long id, const FileRepresentation::FileData& files);
    void previewReady(long id, const QString& path);
    /// Sends the event even if the status stays the same.
    void setItemStatus(ItemStatus status, long id);
    /// Removes all items first if one known address replaces another, which is then the page of another person.
    void setUserPage(const UserPage& page);
    /// True while setUserPage removes the items, in handlers of "item-removed".
    [[nodiscard]] bool isSwitchingPage() const noexcept { return m_isSwitchingPage; }

    /// A copy; an empty item, Pending, for an unknown id.
    [[nodiscard]] Item item(long id) const;
    /// By id, ascending.
    [[nodiscard]] const std::map<long, Item>& items() const noexcept { return m_items; }
    [[nodiscard]] UserPage userPage() const { return m_userPage; }

private:
    Item* findItem(long id);

    std::map<long, Item> m_items;
    UserPage m_userPage;
    bool m_isSwitchingPage = false;
};
}
