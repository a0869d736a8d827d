#include "folder/MarkerTrackerOperator.hpp"

#include "folder/PersonalFolderWidget.hpp"

#include <Tavola/ContentMenuWidget.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <Tavola/MarkerReceiver.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Angle.hpp>

#include <vector>

namespace Tavola
{
namespace
{
constexpr const char* kManualControl = "manual-control";

std::optional<Tactile::Marker> markerOnTable(std::int64_t id)
{
    return Trellis::Application::instance()->grabManager()->findMarker(id);
}
}

MarkerTrackerOperator::MarkerTrackerOperator(const Tactile::Marker& marker, bool follow, bool dismiss,
                                             PersonalFolderWidget& folder, std::function<void()> dismissAction,
                                             float rotationOffsetDegrees, bool reverseMode)
    : m_moveWithMarker(this, "move-widget-with-marker", follow), m_dismiss(dismiss),
      m_rotationOffset(static_cast<float>(Vecta::degreesToRadians(static_cast<double>(rotationOffsetDegrees)))),
      m_manualControl(reverseMode), m_lastCenter(marker.centerLocation()), m_lastRotation(marker.rotation()),
      m_markerId(marker.id()), m_folder(&folder), m_dismissAction(std::move(dismissAction))
{
    setCSSType("marker-tracker-operator");
}

MarkerTrackerOperator::~MarkerTrackerOperator() = default;

void MarkerTrackerOperator::setWidget(Trellis::Widget& item)
{
    m_item = &item;
    if (followsOn(item))
        turnAtStart(item);
    markManual(item);
    if (auto* receiver = dynamic_cast<MarkerReceiver*>(&item))
        if (const auto marker = markerOnTable(m_markerId))
            receiver->receiveMarker(*marker);
}

void MarkerTrackerOperator::setMenuNode(ContentMenuWidget& menu, unsigned long node)
{
    m_menu = &menu;
    m_menuNode = node;
    const auto target = getTargetWidget();
    if (!target)
        return;
    if (followsOn(menu))
        turnAtStart(*target);
    markManual(*target);
}

bool MarkerTrackerOperator::followsOn(Trellis::Widget& carrier)
{
    // Rules match an operator as a child of its widget, and the item is rotated before the tracker is added to it.
    const bool isAdded = styleParent() != nullptr;
    if (!isAdded)
        setStyleParent(&carrier);
    const bool follows = m_moveWithMarker.value();
    if (!isAdded)
        setStyleParent(nullptr);
    return follows;
}

void MarkerTrackerOperator::markManual(Trellis::Widget& target)
{
    if (!m_manualControl)
        return;
    target.addCSSClass(kManualControl);
    m_marked = &target;
}

void MarkerTrackerOperator::turnAtStart(Trellis::Widget& target)
{
    // Only the orientation is to change.
    const Vecta::Vector2T<float> location = target.location();
    target.setRotationAboutScenePoint(m_lastRotation + m_rotationOffset, m_lastCenter);
    target.setLocation(location);
}

Bedrock::IntrusivePtr<Trellis::Widget> MarkerTrackerOperator::getTargetWidget() const
{
    if (const auto menu = m_menu.lock())
        return menu->nodeWidget(m_menuNode);
    return m_item.lock();
}

void MarkerTrackerOperator::update(Trellis::Widget& /*widget*/, const Trellis::FrameInfo& /*frame*/)
{
    if (m_manualControl)
        return;
    const auto marker = markerOnTable(m_markerId);
    if (!marker) {
        dismissContent();
        return;
    }
    moveWith(*marker);
    m_lastCenter = marker->centerLocation();
    m_lastRotation = marker->rotation();
}

void MarkerTrackerOperator::moveWith(const Tactile::Marker& marker)
{
    if (!m_moveWithMarker.value())
        return;
    const auto target = getTargetWidget();
    if (!target || !target->parent())
        return;
    const float change = marker.rotation() - m_lastRotation;
    // A card that lies still moves nothing, so that the item is the visitor's to drag meanwhile, and rounding adds up to nothing.
    if (change == 0.f && marker.centerLocation() == m_lastCenter)
        return;
    const Trellis::Widget& parent = *target->parent();
    const Vecta::Vector2T<float> before = parent.mapFromScene(m_lastCenter);
    const Vecta::Vector2T<float> now = parent.mapFromScene(marker.centerLocation());
    target->setLocation(target->location() + (now - before));
    target->setRotationAboutScenePoint(target->rotation() + change, marker.centerLocation());
    for (const auto& op : target->operators())
        if (auto* opening = dynamic_cast<LaunchedContentOperator*>(op.get()))
            opening->setRelativeLocation(now);
}

void MarkerTrackerOperator::dismissContent()
{
    setDone();
    if (!m_active)
        return;
    m_active = false;
    if (m_dismiss && m_dismissAction)
        m_dismissAction();
}

void MarkerTrackerOperator::removed(Trellis::Widget& /*widget*/)
{
    if (const auto target = getTargetWidget())
        target->removeCSSClass(kManualControl);
    // A menu has no widget for a node that it closes, while that widget still fades out.
    if (const auto marked = m_marked.lock())
        marked->removeCSSClass(kManualControl);
}
}
