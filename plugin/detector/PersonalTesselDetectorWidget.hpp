#pragma once

#include "detector/MarkerFilters.hpp"

#include <Tavola/TesselServiceAPI.hpp>
#include <Trellis/Widget.hpp>

namespace Tavola
{
class PersonalFolderWidget;
class PersonalTesselDetectorInstance;
class PersonalTesselWidget;

/// The area of a table that takes personal cards: opens the owner's personal widget at a card that is put on it, and collects
/// the content that a card is put on elsewhere. The widgets it opens belong to the host's main widget and stay when the card is
/// lifted or the detector goes. CSS type "PersonalTesselDetectorWidget".
///
/// Attributes: "allow-unregistered-markers" (bool, false), "rotate-towards-hand" (bool, false), "rotation-offset" (degrees added
/// to the card's rotation, 90), "marker-filters" (the codes taken, "10,20-25,30"; empty: all), "collection-mode" (disabled,
/// add-to-personal-space, email-with-confirmation, direct-email).
/// Main thread only.
class PersonalTesselDetectorWidget final : public Trellis::Widget
{
public:
    using PersonalMarkerProperties = TesselServiceAPI::PersonalMarkerProperties;

    /// What happens to content that a card is put on.
    enum class WidgetCollectionMode { Disabled = 0, AddToPersonalSpace = 1, EmailWithConfirmation = 2, DirectEmail = 3 };

    explicit PersonalTesselDetectorWidget(Trellis::Widget* parent = nullptr);
    ~PersonalTesselDetectorWidget() override;

    /// Takes over, in its first frame, the cards that lie idle on the table already.
    void update(const Trellis::FrameInfo& frame) override;
    void markerDown(Tactile::Marker marker, Trellis::GrabManager& grabManager) override;
    void markerUp(Tactile::Marker marker, Trellis::GrabManager& grabManager) override;
    bool shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const override;

    /// Reads "marker-filters" anew. Called whenever it changes.
    void parseFilters();
    /// Whether the filters let a code pass.
    [[nodiscard]] bool validCode(unsigned long code) const;
    [[nodiscard]] const MarkerFilters& filters() const noexcept { return m_filters; }

    /// Takes the grab of known cards that lie idle on the background inside this widget, and hands unknown ones to the host's own
    /// detector. Opens nothing.
    void pickupIdleMarkers();
    /// Opens a personal widget with its centre at `scenePoint`, turned by `angle` (radians). Null when none can be made.
    Bedrock::IntrusivePtr<PersonalTesselWidget> launchPersonalWidget(const PersonalMarkerProperties& properties,
                                                                     unsigned long code, const Vecta::Vector2T<float>& scenePoint,
                                                                     float angle);
    /// Hands a card to the folder that the marker service has for it; where there is none, logs why and lets go of the card.
    void handlePersonalMarker(const Tactile::Marker& marker, Trellis::GrabManager& grabManager, bool down);
    /// Opens the popup that e-mails `content` to a card's owner, at a scene point and turned by `angle` (radians).
    void emailWidget(Trellis::Widget& content, const PersonalMarkerProperties& properties,
                     const Vecta::Vector2T<float>& scenePoint, float angle);
    /// A card was put on content somewhere on the table: collects it for the card's owner, or leaves it alone.
    void tesselOnWidget(Trellis::Widget& content, Tactile::Marker marker);

private:
    [[nodiscard]] std::shared_ptr<PersonalTesselDetectorInstance> instance() const;
    /// Where cards that the filter rejects go; null where nobody takes them.
    [[nodiscard]] Bedrock::IntrusivePtr<PersonalFolderWidget> rejectedCodesFolder() const;
    /// How a widget for that card is turned, radians.
    [[nodiscard]] float handAngle(const Tactile::Marker& marker) const;

    Facet::AttributeT<bool> m_allowUnregistered{this, "allow-unregistered-markers", false};
    Facet::AttributeT<bool> m_rotateTowardsHand{this, "rotate-towards-hand", false};
    Facet::AttributeT<float> m_rotationOffset{this, "rotation-offset", 90.f};
    Facet::AttributeT<QString> m_markerFilters{this, "marker-filters"};
    Facet::AttributeT<WidgetCollectionMode> m_collectionMode;
    MarkerFilters m_filters;
    bool m_idlePickupDone = false;
    bool m_pickingUp = false; ///< cards that come now were lying there before, and open nothing
};
}
