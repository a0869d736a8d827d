#pragma once

#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Facet/AttributeT.hpp>
#include <Tactile/Marker.hpp>
#include <Trellis/Operator.hpp>
#include <Vecta/Vector2T.hpp>

#include <cstdint>
#include <functional>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
class ContentMenuWidget;
class PersonalFolderWidget;

/// Keeps an item that a personal folder opened with the card that opened it: moves and rotates the item with the card, and
/// dismisses it when the card is lifted. In reverse mode it only marks the item (class "manual-control") until the folder
/// dismisses it. Owned by the item's widget. CSS type "marker-tracker-operator". Main thread only.
///
/// Attribute: "move-widget-with-marker" (bool; the default is the constructor's `follow`).
class MarkerTrackerOperator final : public Trellis::Operator
{
public:
    /// `dismissAction` removes the item; it is called at most once, and only with `dismiss`.
    MarkerTrackerOperator(const Tactile::Marker& marker, bool follow, bool dismiss, PersonalFolderWidget& folder,
                          std::function<void()> dismissAction, float rotationOffsetDegrees, bool reverseMode);
    ~MarkerTrackerOperator() override;

    /// Sets the item to track, before the tracker is added to it: rotates it towards the card's owner where it follows the
    /// card, marks it in reverse mode, and passes it the card where it is a MarkerReceiver.
    void setWidget(Trellis::Widget& item);
    /// Tracks a node of a menu instead, before the tracker is added to the menu.
    void setMenuNode(ContentMenuWidget& menu, unsigned long node);
    /// The widget that is moved: the item, or the widget of the menu's node. Null once it is destroyed or closed.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> getTargetWidget() const;

    /// Runs the dismiss action where items are dismissed at all, and marks the tracker done. May be called by the action.
    void dismissContent();

    void update(Trellis::Widget& widget, const Trellis::FrameInfo& frame) override;
    void removed(Trellis::Widget& widget) override;

private:
    void moveWith(const Tactile::Marker& marker);
    /// "move-widget-with-marker" as it will be once the tracker is added to `carrier`: style sheets decide over it, too.
    [[nodiscard]] bool followsOn(Trellis::Widget& carrier);
    void turnAtStart(Trellis::Widget& target);
    void markManual(Trellis::Widget& target);

    Facet::AttributeT<bool> m_moveWithMarker;
    bool m_dismiss;
    bool m_active = true;   ///< false once dismissContent was called
    float m_rotationOffset; ///< radians
    bool m_manualControl;
    Vecta::Vector2T<float> m_lastCenter; ///< the card's, scene coordinates
    float m_lastRotation;                ///< the card's, radians
    std::int64_t m_markerId;
    Bedrock::IntrusiveWeakPtr<Trellis::Widget> m_item;
    Bedrock::IntrusiveWeakPtr<Trellis::Widget> m_marked; ///< the widget that this tracker gave the class "manual-control"
    Bedrock::IntrusiveWeakPtr<ContentMenuWidget> m_menu;
    unsigned long m_menuNode = 0;
    Bedrock::IntrusiveWeakPtr<PersonalFolderWidget> m_folder;
    std::function<void()> m_dismissAction;
};
}
