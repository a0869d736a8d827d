#pragma once

#include "personalspace/DropHover.hpp"
#include "personalspace/PersonalSpaceContents.hpp"

#include <Tavola/DropListener.hpp>
#include <Trellis/Widget.hpp>

#include <map>
#include <memory>
#include <vector>

namespace Trellis
{
class ImageWidget;
}

namespace Tavola
{
/// The area of a personal space that content is dropped on, with a tile for each item of the card's contents. The whole space
/// counts as the area. A tile that is dragged out of the space removes its item.
///
/// CSS type "PersonalSpaceContentWidget". Tiles are children of class "container" ("uploaded" or "failed" by the item's status)
/// that hold a picture of class "status-icon" and, above it, the preview. For the marks of a hovering drag see DropHover.
///
/// Attribute: "accept-drops" (bool, true).
/// Events: "empty" (int32 1 or 0, after each tile added or removed), "content-changed", "widget-added" and "widget-removed"
/// (node id of the collected widget, int64), "before-remove-item" (item id, int64).
/// Main thread only.
class PersonalSpaceContentWidget final : public Trellis::Widget, public DropListener
{
public:
    PersonalSpaceContentWidget(Trellis::Widget* parent, unsigned long code);
    ~PersonalSpaceContentWidget() override;

    /// Whether the widget has something to collect: files of its own, or a source.
    [[nodiscard]] static bool canWidgetBeCollected(Trellis::Widget& widget);

    /// Collects a widget: adds an item at once, and its files and preview when they are ready, even if this widget is gone by
    /// then.
    void addItem(Bedrock::IntrusivePtr<Trellis::Widget> widget);
    /// Sends "before-remove-item", then removes the item.
    void removeItem(long id);
    /// Removes all items without that event.
    void removeItems();

    [[nodiscard]] bool isEmpty() const;
    [[nodiscard]] const std::map<long, PersonalSpaceContents::Item>& items() const;
    [[nodiscard]] const std::shared_ptr<PersonalSpaceContents>& contents() const noexcept { return m_contents; }

    [[nodiscard]] bool isInside(Vecta::Vector2f point) const override;
    /// Ends the hover state. Call before removing the widget during a drag: it receives no Leave event afterwards.
    void endHover();
    bool dropEvent(const DropEvent& event) override;

    /// Called for the contents' events, and by the space for items that were in the contents before this widget was made. Ids
    /// without a tile are ignored, except by itemAdded.
    void itemAdded(long id);
    void itemRemoved(long id);
    void previewReady(long id, const QString& path);
    void updateStatus(long id, PersonalSpaceContents::ItemStatus status);

private:
    void listenToContents();
    void tileReleased(long id);
    void resizeContents();
    void checkEmpty();
    /// The container of an item's tile, or null.
    [[nodiscard]] Trellis::Widget* findTile(long id) const;

    std::uint64_t m_code;
    std::shared_ptr<PersonalSpaceContents> m_contents;
    std::map<long, Bedrock::IntrusivePtr<Trellis::ImageWidget>> m_tiles; ///< previews; the parent of each is the tile
    DropHover m_hover{*this};
    Facet::AttributeT<bool> m_acceptDrops{this, "accept-drops", true};
    std::vector<Facet::Node::ListenerId> m_contentsListeners;
};
}
