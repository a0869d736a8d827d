#include "detector/PersonalTesselDetectorWidget.hpp"

#include "detector/PersonalTesselDetectorInstance.hpp"
#include "email/EmailSendingPopupWidget.hpp"
#include "folder/PersonalFolderWidget.hpp"
#include "personalspace/PersonalSpaceContentWidget.hpp"
#include "personalspace/PersonalSpaceWidget.hpp"

#include <Bedrock/FlagGuard.hpp>
#include <Bedrock/Trace.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Tavola/UserInterface.hpp>
#include <Tavola/Utils.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/InputGrabber.hpp>
#include <Vecta/Angle.hpp>

namespace Tavola
{
namespace
{
using Mode = PersonalTesselDetectorWidget::WidgetCollectionMode;
using MarkerProperties = TesselServiceAPI::MarkerProperties;

Facet::AttributeT<Mode>::Names modeNames()
{
    return {{QLatin1String("disabled"), Mode::Disabled},
            {QLatin1String("add-to-personal-space"), Mode::AddToPersonalSpace},
            {QLatin1String("email-with-confirmation"), Mode::EmailWithConfirmation},
            {QLatin1String("direct-email"), Mode::DirectEmail}};
}

/// Null without an application.
std::shared_ptr<TesselServiceCache> markerCache()
{
    const auto application = Tavola::instance();
    return application ? application->services()->tesselServiceCache() : nullptr;
}

/// Null without an application or a marker service.
std::shared_ptr<TesselServiceAPI> markerService()
{
    const auto application = Tavola::instance();
    return application ? application->services()->tesselService() : nullptr;
}

/// Raises a widget above the content that the card was put on: a touch in this frame may raise that content once more.
void raiseAfterUpdate(Trellis::Widget& widget)
{
    Facet::Node::invokeAfterUpdate([weak = Bedrock::IntrusiveWeakPtr<Trellis::Widget>(&widget)] {
        if (const auto launched = weak.lock())
            launched->raiseToTop(false);
    });
}

/// The record of a card's owner; an empty one where the card has none.
TesselServiceAPI::PersonalMarkerProperties ownerOf(const MarkerProperties& properties)
{
    const auto* personal = properties.personalProperties();
    return personal ? *personal : TesselServiceAPI::PersonalMarkerProperties();
}
}

PersonalTesselDetectorWidget::PersonalTesselDetectorWidget(Trellis::Widget* parent)
    : Trellis::Widget(parent), m_collectionMode(this, "collection-mode", modeNames(), Mode::EmailWithConfirmation)
{
    m_markerFilters.addListener([this] { parseFilters(); }, Facet::Attribute::kValueChanged);
    setCSSType("PersonalTesselDetectorWidget");
    setUpdating(true);
}

PersonalTesselDetectorWidget::~PersonalTesselDetectorWidget() = default;

void PersonalTesselDetectorWidget::parseFilters()
{
    m_filters.parse(m_markerFilters.value());
}

bool PersonalTesselDetectorWidget::validCode(unsigned long code) const
{
    return m_filters.validCode(code);
}

std::shared_ptr<PersonalTesselDetectorInstance> PersonalTesselDetectorWidget::instance() const
{
    const auto application = Tavola::instance();
    return application ? std::dynamic_pointer_cast<PersonalTesselDetectorInstance>(application->widgetInstance(id())) : nullptr;
}

float PersonalTesselDetectorWidget::handAngle(const Tactile::Marker& marker) const
{
    if (!m_rotateTowardsHand.value())
        return 0.f;
    const double offset = Vecta::degreesToRadians(static_cast<double>(m_rotationOffset.value()));
    return static_cast<float>(static_cast<double>(marker.rotation()) + offset);
}

bool PersonalTesselDetectorWidget::shouldGrab(Trellis::GrabManager& grabManager, Tactile::TrackedObject object) const
{
    if (!object.isMarker())
        return false;
    const auto cache = markerCache();
    const unsigned long code = object.code();
    if (!cache || !cache->isCached(code))
        return false;
    if (!validCode(code) && !rejectedCodesFolder())
        return false;
    const int kind = cache->markerProperties(code).type();
    const bool wanted =
        kind == MarkerProperties::kPersonal || (kind == MarkerProperties::kUnregistered && m_allowUnregistered.value());
    return wanted && Trellis::Widget::shouldGrab(grabManager, object);
}

Bedrock::IntrusivePtr<PersonalFolderWidget> PersonalTesselDetectorWidget::rejectedCodesFolder() const
{
    const auto detectorInstance = instance();
    return detectorInstance ? detectorInstance->contentForInvalidTessel() : nullptr;
}

void PersonalTesselDetectorWidget::markerDown(Tactile::Marker marker, Trellis::GrabManager& grabManager)
{
    if (m_pickingUp)
        return;
    const unsigned long code = marker.code();
    if (!validCode(code)) {
        if (const auto folder = rejectedCodesFolder())
            folder->personalMarkerDown(marker);
        return;
    }
    const auto cache = markerCache();
    if (!cache)
        return;
    const PersonalMarkerProperties owner = ownerOf(cache->markerProperties(code));
    // The marker service provides the widget of this card; a personal space is never opened in its place.
    if (!owner.contentKey.isEmpty()) {
        handlePersonalMarker(marker, grabManager, true);
        return;
    }
    (void)launchPersonalWidget(owner, code, marker.centerLocation(), handAngle(marker));
}

void PersonalTesselDetectorWidget::markerUp(Tactile::Marker marker, Trellis::GrabManager& grabManager)
{
    // A personal space stays when its card is lifted; only folders receive the event.
    if (validCode(marker.code()))
        handlePersonalMarker(marker, grabManager, false);
    else if (const auto folder = rejectedCodesFolder())
        folder->personalMarkerUp(marker);
}

void PersonalTesselDetectorWidget::handlePersonalMarker(const Tactile::Marker& marker, Trellis::GrabManager& grabManager,
                                                        bool down)
{
    const unsigned long code = marker.code();
    QString failure = QString::fromUtf8("Got null widget");
    if (const auto service = markerService()) {
        const auto widget = service->personalWidget(code);
        if (!widget) {
            failure = widget.error();
        } else if (const auto folder = Bedrock::dynamicPointerCast<PersonalFolderWidget>(*widget)) {
            if (down)
                folder->personalMarkerDown(marker);
            else
                folder->personalMarkerUp(marker);
            return;
        }
    }
    if (!down)
        return;
    Bedrock::Trace::warning(
        "PersonalTesselDetectorWidget::handlePersonalMarker # Failed to create personal folder for code %llu (%s)",
        static_cast<unsigned long long>(code), failure.toUtf8().constData());
    grabManager.ungrab(marker.id(), inputGrabber());
}

Bedrock::IntrusivePtr<PersonalTesselWidget> PersonalTesselDetectorWidget::launchPersonalWidget(
    const PersonalMarkerProperties& properties, unsigned long code, const Vecta::Vector2T<float>& scenePoint, float angle)
{
    const auto detectorInstance = instance();
    if (!detectorInstance)
        return nullptr;
    const auto widget = detectorInstance->createPersonalWidget();
    if (!widget)
        return nullptr;
    widget->setCode(code);
    widget->setProperties(properties);

    const auto mainWidget = Tavola::instance()->ui()->mainWidget();
    mainWidget->addChild(widget);
    widget->setCenterLocation(mainWidget->mapFromScene(scenePoint));
    widget->raiseToTop(false);
    widget->setRotationAboutCenter(angle);
    widget->addCSSClass(Utils::temporaryWidgetCSSClass());
    return widget;
}

void PersonalTesselDetectorWidget::tesselOnWidget(Trellis::Widget& content, Tactile::Marker marker)
{
    if (m_collectionMode.value() == Mode::Disabled || !PersonalSpaceContentWidget::canWidgetBeCollected(content))
        return;
    const auto cache = markerCache();
    const unsigned long code = marker.code();
    if (!cache || !cache->isCached(code))
        return;
    const MarkerProperties properties = cache->markerProperties(code);
    const bool personal = properties.type() == MarkerProperties::kPersonal;
    if (!personal && !(m_allowUnregistered.value() && properties.type() == MarkerProperties::kUnregistered))
        return;
    const PersonalMarkerProperties owner = ownerOf(properties);
    if (personal && !owner.contentKey.isEmpty())
        return;

    const float angle = handAngle(marker);
    if (m_collectionMode.value() != Mode::AddToPersonalSpace && !owner.email.isEmpty()) {
        emailWidget(content, owner, marker.centerLocation(), angle);
        return;
    }
    const auto widget = launchPersonalWidget(owner, code, marker.centerLocation(), angle);
    const auto space = Bedrock::dynamicPointerCast<PersonalSpaceWidget>(widget);
    if (!space) {
        Bedrock::Trace::warning("Cannot add widget to personal space, Tessel detector is not configured to use personal spaces.");
        return;
    }
    space->addWidget(content);
    raiseAfterUpdate(*space);
}

void PersonalTesselDetectorWidget::emailWidget(Trellis::Widget& content, const PersonalMarkerProperties& properties,
                                               const Vecta::Vector2T<float>& scenePoint, float angle)
{
    const auto application = Tavola::instance();
    if (!application)
        return;
    const auto popup = Bedrock::dynamicPointerCast<EmailSendingPopupWidget>(
        application->ui()->createStockWidget(QString::fromUtf8("email-widget-popup"), "main"));
    if (!popup)
        return;
    const auto mainWidget = application->ui()->mainWidget();
    mainWidget->addChild(popup);
    popup->setLocation(mainWidget->mapFromScene(scenePoint));
    popup->raiseToTop(false);
    popup->setRotation(angle);
    popup->emailWidget(content, m_collectionMode.value() == Mode::EmailWithConfirmation, properties);
    raiseAfterUpdate(*popup);
}

void PersonalTesselDetectorWidget::update(const Trellis::FrameInfo& /*frame*/)
{
    if (m_idlePickupDone)
        return;
    pickupIdleMarkers();
    m_idlePickupDone = true;
    setUpdating(false);
}

void PersonalTesselDetectorWidget::pickupIdleMarkers()
{
    const auto application = Tavola::instance();
    const auto cache = markerCache();
    if (!application || !cache)
        return;
    const Bedrock::FlagGuard pickingUp(m_pickingUp);
    Trellis::GrabManager& grabManager = *Trellis::Application::instance()->grabManager();
    auto* hostDetector = application->ui()->internalOverlayWidget()->findByType("MarkerDetectorWidget");

    const std::vector<Tactile::Marker> markers = grabManager.currentSample().markers;
    for (const Tactile::Marker& marker : markers) {
        const bool known = cache->isCached(marker.code());
        if (known && !shouldGrab(grabManager, marker))
            continue;
        const auto* grabber = grabManager.grabber(marker.id());
        const auto* holder = grabber ? dynamic_cast<Trellis::Widget*>(grabber->host()) : nullptr;
        if (!holder || !holder->hasCSSClass("tavola-background"))
            continue;
        if (known) {
            if (isInside(mapFromScene(marker.centerLocation())))
                grabManager.transferGrab(marker.id(), inputGrabber());
        } else if (hostDetector) {
            grabManager.transferGrab(marker.id(), hostDetector->inputGrabber());
        }
    }
}
}
