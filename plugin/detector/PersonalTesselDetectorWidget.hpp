#pragma once

#include "detector/MarkerFilters.hpp"

#include <Tavola/TesselServiceAPI.hpp>
#include <Trellis/Widget.hpp>

namespace Tavola
{
class PersonalFolderWidget;
class PersonalTesselDetectorInstance;
class PersonalTesselWidget;

/// The area of a table that grabs personal cards: it opens the owner's personal widget at a card that is put on it, and
/// collects content elsewhere on the table that a card is put on. Opened widgets are children of the host's main widget; they
/// stay when the card is lifted and when the detector is destroyed. Without an application the detector grabs and opens nothing.
/// CSS type "PersonalTesselDetectorWidget"; its attributes are listed in docs/style-attributes.md. Main thread only.
class PersonalTesselDetectorWidget final : public Trellis::Widget
{
public:
    using PersonalMarkerProperties = TesselServiceAPI::PersonalMarkerProperties;

    /// What is done with content that a card is put on.
    enum class WidgetCollectionMode { Disabled = 0, AddToPersonalSpace = 1, EmailWithConfirmation = 2, DirectEmail = 3 };

    explicit PersonalTesselDetectorWidget(Trellis::Widget* parent = nullptr);
    ~PersonalTesselDetectorWidget() override;

    /// The first call runs pickupIdleMarkers(); later calls do nothing.
    void update(const Trellis::FrameInfo& frame) override;
    void markerDown(Tactile::Marker marker, Trellis::GrabManager& grabManager) override;
    void markerUp(Tactile::Marker marker, Trellis::GrabManager& grabManager) override;
    /// True for a known card inside the widget whose code the filters accept (or, with a folder for rejected codes, any code) and
    /// whose kind is personal, or unregistered where "allow-unregistered-markers" is set.
    bool shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const override;

    /// Parses "marker-filters" again. Runs at every change of the attribute.
    void parseFilters();
    /// Whether the filters accept a code.
    [[nodiscard]] bool validCode(unsigned long code) const;
    [[nodiscard]] const MarkerFilters& filters() const noexcept { return m_filters; }

    /// Transfers the grabs of cards that lie idle on the background: known ones inside this widget to this widget, unknown ones
    /// to the host's own detector. Opens nothing.
    void pickupIdleMarkers();
    /// Opens a personal widget with its centre at `scenePoint`, rotated by `angle` (radians). Null when it cannot be created.
    Bedrock::IntrusivePtr<PersonalTesselWidget> launchPersonalWidget(const PersonalMarkerProperties& properties,
                                                                     unsigned long code, const Vecta::Vector2T<float>& scenePoint,
                                                                     float angle);
    /// Forwards a card to the folder that the marker service gives for it. Where the service gives none, a card that comes down
    /// is logged as a warning and its grab is released; a lifted card is ignored.
    void handlePersonalMarker(const Tactile::Marker& marker, Trellis::GrabManager& grabManager, bool down);
    /// Opens the popup that e-mails `content` to a card's owner, at `scenePoint` and rotated by `angle` (radians). Does nothing
    /// when the popup cannot be created.
    void emailWidget(Trellis::Widget& content, const PersonalMarkerProperties& properties,
                     const Vecta::Vector2T<float>& scenePoint, float angle);
    /// Collects `content`, on which a card was put, for the card's owner as "collection-mode" says; ignores cards and content
    /// that cannot be collected.
    void tesselOnWidget(Trellis::Widget& content, Tactile::Marker marker);

private:
    [[nodiscard]] std::shared_ptr<PersonalTesselDetectorInstance> instance() const;
    /// The folder for cards that the filters reject; null when there is none.
    [[nodiscard]] Bedrock::IntrusivePtr<PersonalFolderWidget> rejectedCodesFolder() const;
    /// The rotation of a widget that is opened for the card, radians.
    [[nodiscard]] float handAngle(const Tactile::Marker& marker) const;

    Facet::AttributeT<bool> m_allowUnregistered{this, "allow-unregistered-markers", false};
    Facet::AttributeT<bool> m_rotateTowardsHand{this, "rotate-towards-hand", false};
    Facet::AttributeT<float> m_rotationOffset{this, "rotation-offset", 90.f};
    Facet::AttributeT<QString> m_markerFilters{this, "marker-filters"};
    Facet::AttributeT<WidgetCollectionMode> m_collectionMode;
    MarkerFilters m_filters;
    bool m_idlePickupDone = false;
    bool m_pickingUp = false; ///< while pickupIdleMarkers runs: the cards it transfers open nothing
};
}
