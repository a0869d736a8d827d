#include "care/Drags.hpp"

#include <Facet/AttributeT.hpp>
#include <Tactile/Sample.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/InputGrabber.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>

namespace Host
{
bool isMovable(const Trellis::Widget& widget)
{
    const auto* const movable = dynamic_cast<const Facet::AttributeT<bool>*>(widget.attribute("movable"));
    return movable && movable->value();
}

void Drags::update(const Trellis::Widget& content, const Trellis::GrabManager& grabManager)
{
    m_drags.erase(std::remove_if(m_drags.begin(), m_drags.end(), [](const Drag& drag) { return !drag.isHeld; }), m_drags.end());
    for (Drag& drag : m_drags)
        drag.isHeld = drag.widget->parent() && drag.widget->isHeld();
    const Tactile::Sample& sample = grabManager.currentSample();
    for (const Tactile::TrackedObject& finger : sample.fingers)
        if (const Trellis::InputGrabber* const grabber = grabManager.grabber(finger.id()))
            note(content, grabber->widget(), finger.centerLocation());
    for (Drag& drag : m_drags)
        drag.isDragging |= drag.isHeld && drag.widget->location() != drag.start;
    m_order.assign(content.children().begin(), content.children().end());
}

void Drags::note(const Trellis::Widget& content, Trellis::Widget& hit, Vecta::Vector2f finger)
{
    Trellis::Widget* const held = hit.nearest([](const Trellis::Widget& widget) { return widget.isHeld() && isMovable(widget); });
    if (!held)
        return;
    const auto known =
        std::find_if(m_drags.begin(), m_drags.end(), [held](const Drag& drag) { return drag.widget.get() == held; });
    if (known != m_drags.end()) {
        known->finger = finger;
        return;
    }
    Drag& drag = m_drags.emplace_back();
    drag.widget = Bedrock::IntrusivePtr<Trellis::Widget>(held);
    drag.start = held->location();
    drag.finger = finger;
    if (held->parent() != &content)
        return;
    const auto below =
        std::find_if(m_order.begin(), m_order.end(), [held](const auto& weak) { return weak.lock().get() == held; });
    if (below != m_order.end())
        drag.covering.assign(below + 1, m_order.end());
}
}
