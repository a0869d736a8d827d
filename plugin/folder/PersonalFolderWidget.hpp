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

/// Opens the contents of its slots at a card: when the card comes down, or in reverse mode when it is lifted. Opened items are
/// children of the host's main widget and outlive the folder. CSS type "PersonalFolderWidget"; its attributes are listed in
/// docs/style-attributes.md. Main thread only.
class PersonalFolderWidget final : public Trellis::Widget
{
public:
    explicit PersonalFolderWidget(Trellis::Widget* parent = nullptr);
    ~PersonalFolderWidget() override;

    /// Opens the contents at the card; in reverse mode dismisses what the card with this marker id opened.
    void personalMarkerDown(const Tactile::Marker& marker);
    /// In reverse mode opens the contents at the card; otherwise does nothing.
    void personalMarkerUp(const Tactile::Marker& marker);

    /// Opens the contents at the card's centre. Does nothing without an application or an instance of the folder.
    void createContents(const Tactile::Marker& marker);
    /// Adds an opened item to `parent`, opens it at `point` (coordinates of `parent`) and attaches its tracker. Only an item of
    /// the relative slot may follow the card.
    void handleWidget(Trellis::Widget& item, const Vecta::Vector2T<float>& point, Trellis::Widget& parent, bool relative,
                      const Tactile::Marker& marker);
    /// The same for a menu, which opens its first node at `point` and may follow the card from either slot.
    void handleMenu(ContentMenuWidget& menu, const Vecta::Vector2T<float>& point, Trellis::Widget& parent,
                    const Tactile::Marker& marker);

private:
    /// In reverse mode, stores the tracker of an item that the marker opened.
    void remember(const Tactile::Marker& marker, MarkerTrackerOperator& tracker);

    Facet::AttributeT<float> m_openingDuration{this, "content-opening-duration", 0.3f};
    Facet::AttributeT<bool> m_followMarker{this, "follow-marker", false};
    Facet::AttributeT<bool> m_dismissWidgets{this, "dismiss-widgets", false};
    Facet::AttributeT<float> m_rotationOffset{this, "rotation-offset", 90.f};
    Facet::AttributeT<bool> m_reverseMode{this, "reverse-mode", false};
    /// By marker id; filled in reverse mode only. An entry is removed when the marker comes down again.
    std::unordered_map<std::int64_t, std::vector<Bedrock::IntrusiveWeakPtr<MarkerTrackerOperator>>> m_openedByMarker;
};
}
