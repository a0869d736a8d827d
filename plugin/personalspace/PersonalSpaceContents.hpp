#pragma once

#include "server/PersonalSpaceUploader.hpp"

#include <Facet/Node.hpp>
#include <Tavola/FileRepresentation.hpp>

#include <QString>

#include <map>
#include <memory>

namespace Tavola
{
/// What one card's owner has collected, and the owner's user page. One for each card code, kept as long as the plug-in is
/// loaded, so that a space closed and opened again shows the same items. Holds no widgets and does no network work; the
/// outcome of every change is told by an event, sent inside the call:
///
///     "item-added"           item id (int64)
///     "item-removed"         item id (int64)
///     "preview-ready"        item id (int64), path (string)
///     "files-ready"          item id (int64)
///     "user-page-changed"    nothing
///     "item-status-changed"  item id (int64), status (int32)
///
/// Calls for an item that is not there are ignored. Main thread only.
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

    /// The contents of a card, made on first use.
    [[nodiscard]] static std::shared_ptr<PersonalSpaceContents> personalContent(unsigned long code);
    /// Removes all items of a card; makes no contents where there are none.
    static void removeItems(unsigned long code);

    PersonalSpaceContents();
    ~PersonalSpaceContents() override;

    /// The item's id, greater than those of all items before it.
    long addItem(Item item);
    void removeItem(long id);
    /// In ascending order of ids, each with its event right after it is gone.
    void removeItems();

    /// Stores the files and makes the item Ready. Sends "files-ready" only, no change of status.
    void filesReady(long id, const FileRepresentation::FileData& files);
    void previewReady(long id, const QString& path);
    /// Sends its event also when the status stays what it was.
    void setItemStatus(ItemStatus status, long id);
    /// Another address in place of a known one empties the space first: it is somebody else's page now.
    void setUserPage(const UserPage& page);

    /// A copy; an empty item, Pending, for an unknown id.
    [[nodiscard]] Item item(long id) const;
    /// By id, ascending.
    [[nodiscard]] const std::map<long, Item>& items() const noexcept { return m_items; }
    [[nodiscard]] UserPage userPage() const { return m_userPage; }

private:
    Item* findItem(long id);

    std::map<long, Item> m_items;
    UserPage m_userPage;
};
}
