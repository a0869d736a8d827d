#pragma once

#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Tactile/Marker.hpp>
#include <Trellis/Widget.hpp>

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace Tavola
{
class ContentMenuWidget;
class MarkerTrackerOperator;

/// Opens what a presentation has put into its slots at a card: when the card comes down, or in reverse mode when it is lifted.
/// Opened items live under the host's main widget and outlive the folder. CSS type "PersonalFolderWidget". Main thread only.
///
/// Attributes: "content-opening-duration" (seconds, 0.3), "follow-marker" (false: menus and relative items move with the
/// card), "dismiss-widgets" (false: items go when the card is lifted), "rotation-offset" (degrees, 90), "reverse-mode" (false).
class PersonalFolderWidget final : public Trellis::Widget
{
public:
    explicit PersonalFolderWidget(Trellis::Widget* parent = nullptr);
    ~PersonalFolderWidget() override;

    void personalMarkerDown(const Tactile::Marker& marker);
    void personalMarkerUp(const Tactile::Marker& marker);

    /// Opens the contents for a card; nothing when the folder has no instance.
    void createContents(const Tactile::Marker& marker);

private:
    /// `point` in `parent`'s coordinates.
    void handleWidget(Trellis::Widget& item, const Vecta::Vector2T<float>& point, Trellis::Widget& parent, bool relative,
                      const Tactile::Marker& marker);
    void handleMenu(ContentMenuWidget& menu, const Vecta::Vector2T<float>& point, Trellis::Widget& parent,
                    const Tactile::Marker& marker);
    /// In reverse mode, remembers what the marker opened.
    void remember(const Tactile::Marker& marker, MarkerTrackerOperator& tracker);

    Facet::AttributeT<float> m_openingDuration{this, "content-opening-duration", 0.3f};
    Facet::AttributeT<bool> m_followMarker{this, "follow-marker", false};
    Facet::AttributeT<bool> m_dismissWidgets{this, "dismiss-widgets", false};
    Facet::AttributeT<float> m_rotationOffset{this, "rotation-offset", 90.f};
    Facet::AttributeT<bool> m_reverseMode{this, "reverse-mode", false};
    /// By marker id; filled in reverse mode only, emptied when the marker comes down again.
    std::unordered_map<std::int64_t, std::vector<Bedrock::IntrusiveWeakPtr<MarkerTrackerOperator>>> m_openedByMarker;
};
}
