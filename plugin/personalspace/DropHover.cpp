#include "personalspace/DropHover.hpp"

#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/ImageWidget.hpp>

#include <algorithm>
#include <utility>

namespace Tavola
{
DropHover::DropHover(Trellis::Widget& area) : m_area(area) {}

DropHover::~DropHover() = default;

void DropHover::hover(Vecta::Vector2f scenePoint)
{
    m_area.parent()->setPseudoClass("valid-hover", true);
    updateIndicator(scenePoint);
}

void DropHover::markDragged(Trellis::Widget& dragged)
{
    dragged.setPseudoClass("valid-drop", true);
    forget(dragged);
    m_marked.emplace_back(&dragged);
}

void DropHover::leave(Trellis::Widget& dragged)
{
    m_area.parent()->setPseudoClass("valid-hover", false);
    dragged.setPseudoClass("valid-drop", false);
    forget(dragged);
    removeIndicator();
}

void DropHover::removeIndicator()
{
    if (!m_indicator)
        return;
    m_indicator->removeFromParent();
    m_indicator.reset();
}

void DropHover::end()
{
    removeIndicator();
    if (m_area.parent())
        m_area.parent()->setPseudoClass("valid-hover", false);
    const auto marked = std::exchange(m_marked, {});
    for (const auto& weak : marked)
        if (const auto dragged = weak.lock())
            dragged->setPseudoClass("valid-drop", false);
}

void DropHover::updateIndicator(Vecta::Vector2f scenePoint)
{
    const auto application = Tavola::instance();
    if (!application)
        return;
    const auto overlay = application->ui()->overlayWidget();
    if (!m_indicator) {
        m_indicator = new Trellis::ImageWidget(overlay.get());
        m_indicator->addCSSClass("drop-indicator");
    }
    m_indicator->setCenterLocation(overlay->mapFromScene(scenePoint));
}

void DropHover::forget(const Trellis::Widget& dragged)
{
    const auto isItOrGone = [&dragged](const Bedrock::IntrusiveWeakPtr<Trellis::Widget>& weak) {
        const auto marked = weak.lock();
        return !marked || marked.get() == &dragged;
    };
    m_marked.erase(std::remove_if(m_marked.begin(), m_marked.end(), isItOrGone), m_marked.end());
}
}
