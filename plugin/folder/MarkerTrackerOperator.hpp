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

/// Keeps an item that a personal folder opened with the card that opened it: moves and turns the item with the card, and
/// dismisses it when the card is lifted. In reverse mode it only marks the item (class "manual-control") and waits for the
/// folder to dismiss it. CSS type "marker-tracker-operator". Main thread only.
///
/// Attribute: "move-widget-with-marker" (bool; the default is the constructor's `follow`).
class MarkerTrackerOperator final : public Trellis::Operator
{
public:
    /// `dismissAction` takes the item away; it is called at most once, and only with `dismiss`.
    MarkerTrackerOperator(const Tactile::Marker& marker, bool follow, bool dismiss, PersonalFolderWidget& folder,
                          std::function<void()> dismissAction, float rotationOffsetDegrees, bool reverseMode);
    ~MarkerTrackerOperator() override;

    /// The item to track: turned towards the card's owner where it follows, marked in reverse mode, given the card where it
    /// can take one.
    void setWidget(Trellis::Widget& item);
    /// Tracks a node of a menu instead of a plain widget.
    void setMenuNode(ContentMenuWidget& menu, unsigned long node);
    /// The widget that is moved: the item, or the widget of the menu's node. Null once it is gone.
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::Widget> getTargetWidget() const;

    /// Runs the dismiss action where items are dismissed at all, and ends the tracking.
    void dismissContent();

    void update(Trellis::Widget& widget, const Trellis::FrameInfo& frame) override;
    void removed(Trellis::Widget& widget) override;

private:
    void moveWith(const Tactile::Marker& marker);
    void turnAtStart(Trellis::Widget& target);
    void markManual(Trellis::Widget& target);

    Facet::AttributeT<bool> m_moveWithMarker;
    bool m_dismiss;
    bool m_active = true;   ///< until it has dismissed what it tracks
    float m_rotationOffset; ///< radians
    bool m_manualControl;
    Vecta::Vector2T<float> m_lastCenter; ///< the card's, scene coordinates
    float m_lastRotation;                ///< the card's, radians
    std::int64_t m_markerId;
    Bedrock::IntrusiveWeakPtr<Trellis::Widget> m_item;
    Bedrock::IntrusiveWeakPtr<Trellis::Widget> m_marked; ///< what has "manual-control" from here
    Bedrock::IntrusiveWeakPtr<ContentMenuWidget> m_menu;
    unsigned long m_menuNode = 0;
    Bedrock::IntrusiveWeakPtr<PersonalFolderWidget> m_folder;
    std::function<void()> m_dismissAction;
};
}
