#pragma once

#include "personalspace/PersonalSpaceContents.hpp"

#include <Bedrock/IntrusiveWeakPtr.hpp>
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
/// The area of a personal space that content is dropped on, with a small tile for each item of the card's contents. The whole
/// space counts as the area. A tile that is dragged out of the space takes its item with it.
///
/// CSS type "PersonalSpaceContentWidget". Tiles are children of class "container" ("uploaded" or "failed" by the item's status)
/// with a picture of class "status-icon" and, above it, the preview. While an acceptable widget hovers, the parent has the
/// pseudo-class "valid-hover" and a picture of class "drop-indicator" stands in the host's overlay; the dragged widget has
/// "valid-drop" when letting go would drop it; both stay on a drop until the drag leaves.
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

    /// Whether anything is known of the widget that could be collected: files of its own, or a source.
    [[nodiscard]] static bool canWidgetBeCollected(Trellis::Widget& widget);

    /// Collects a widget: an item at once, its files and preview when they are there (also when this widget is gone by then).
    void addItem(Bedrock::IntrusivePtr<Trellis::Widget> widget);
    /// Announces "before-remove-item", then removes the item.
    void removeItem(long id);
    /// Removes all items, unannounced.
    void removeItems();

    [[nodiscard]] bool isEmpty() const;
    [[nodiscard]] const std::map<long, PersonalSpaceContents::Item>& items() const;
    [[nodiscard]] const std::shared_ptr<PersonalSpaceContents>& contents() const noexcept { return m_contents; }

    [[nodiscard]] bool isInside(Vecta::Vector2f point) const override;
    /// Takes away all that shows a hover: indicator, "valid-hover" of the parent, "valid-drop" of what is dragged. For who
    /// takes this widget away during a drag, which it then does not hear of any more.
    void endHover();
    bool dropEvent(const DropEvent& event) override;

    /// What the contents' events lead to; also the way to show items that were there before this widget was. Ids without a
    /// tile are ignored, except by itemAdded.
    void itemAdded(long id);
    void itemRemoved(long id);
    void previewReady(long id, const QString& path);
    void updateStatus(long id, PersonalSpaceContents::ItemStatus status);

private:
    void listenToContents();
    void tileReleased(long id);
    void updateIndicator(Vecta::Vector2f scenePoint);
    void removeIndicator();
    /// Sets or clears "valid-drop" on a dragged widget, and remembers where it is set.
    void markDragged(Trellis::Widget& widget, bool on);
    void resizeContents();
    void checkEmpty();
    /// The container of an item's tile, or null.
    [[nodiscard]] Trellis::Widget* findTile(long id) const;

    std::uint64_t m_code;
    std::shared_ptr<PersonalSpaceContents> m_contents;
    std::map<long, Bedrock::IntrusivePtr<Trellis::ImageWidget>> m_tiles; ///< previews; the parent of each is the tile
    Bedrock::IntrusivePtr<Trellis::ImageWidget> m_indicator;             ///< null while nothing hovers
    std::vector<Bedrock::IntrusiveWeakPtr<Trellis::Widget>> m_marked;    ///< dragged ones that have "valid-drop" from here
    Facet::AttributeT<bool> m_acceptDrops{this, "accept-drops", true};
    std::vector<Facet::Node::ListenerId> m_contentsListeners;
};
}
