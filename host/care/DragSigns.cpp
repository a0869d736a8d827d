#include "care/DragSigns.hpp"

#include "care/DragShadow.hpp"
#include "care/Drags.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/DropListener.hpp>
#include <Tavola/FileRepresentation.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/Widget.hpp>

#include <QStringList>

#include <algorithm>

namespace Host
{
namespace
{
using Trellis::Widget;
using Widgets = std::vector<Bedrock::IntrusiveWeakPtr<Widget>>;

template <class T>
T valueOf(const Widget& widget, const char* name, T usual)
{
    const auto* const attribute = dynamic_cast<const Facet::AttributeT<T>*>(widget.attribute(name));
    return attribute ? attribute->value() : usual;
}

bool canBeCollected(const Widget& widget)
{
    return dynamic_cast<const Tavola::FileRepresentation*>(&widget)
        || !valueOf(widget, "source-tessel-urls", QStringList()).isEmpty() || !valueOf(widget, "source", QString()).isEmpty();
}

/// What holds the drop areas that would take the widget.
void collectTakers(const Widget& widget, const Widget& dragged, Widgets& found)
{
    for (const auto& child : widget.children()) {
        if (child.get() == &dragged || !child->isVisible() || Trellis::FadeAnimator::isFadingOut(*child))
            continue;
        if (DragSigns::wouldTake(*child, dragged))
            found.emplace_back(child->parent());
        collectTakers(*child, dragged, found);
    }
}

bool contains(const Widgets& widgets, const Widget& widget)
{
    return std::any_of(widgets.begin(), widgets.end(), [&widget](const auto& weak) { return weak.lock().get() == &widget; });
}
}

bool DragSigns::wouldTake(const Widget& area, const Widget& dragged)
{
    return dynamic_cast<const Tavola::DropListener*>(&area) && area.parent() && valueOf(area, "accept-drops", true)
        && canBeCollected(dragged);
}

void DragSigns::update(Widget& content, const std::vector<Drag>& drags)
{
    for (const Drag& drag : drags)
        showDragged(content, drag);
    m_shadows.erase(std::remove_if(m_shadows.begin(), m_shadows.end(),
                                   [](const Shadow& one) {
                                       const auto dragged = one.dragged.lock();
                                       const bool isOver = !dragged || !dragged->parent() || !dragged->hasPseudoClass("dragging");
                                       if (isOver)
                                           one.shadow->removeFromParent();
                                       return isOver;
                                   }),
                    m_shadows.end());
    showTakers(content, drags);
}

void DragSigns::showDragged(Widget& content, const Drag& drag)
{
    Widget& widget = *drag.widget;
    const bool isDragging = drag.isDragging && drag.isHeld;
    const bool hasBegun = isDragging && !widget.hasPseudoClass("dragging");
    widget.setPseudoClass("dragging", isDragging);
    Widget* const area = widget.parent();
    if (!area || area == &content) {
        if (isDragging)
            castShadow(content, widget);
        return;
    }
    if (!dynamic_cast<const Tavola::DropListener*>(area))
        return;
    widget.setPseudoClass("outside", isDragging && !widget.intersects(*area));
    if (hasBegun)
        if (Widget* const top = area->nearest([&content](const Widget& w) { return w.parent() == &content; }))
            top->raiseToTop();
}

void DragSigns::castShadow(Widget& content, Widget& dragged)
{
    auto known = std::find_if(m_shadows.begin(), m_shadows.end(),
                              [&dragged](const Shadow& one) { return one.dragged.lock().get() == &dragged; });
    if (known == m_shadows.end()) {
        known = m_shadows.insert(known, {DragShadow::make(), Bedrock::IntrusiveWeakPtr<Widget>(&dragged)});
        content.addChild(known->shadow);
        dragged.raiseToTop();
    }
    static_cast<DragShadow&>(*known->shadow).follow(dragged);
}

void DragSigns::showTakers(const Widget& content, const std::vector<Drag>& drags)
{
    Widgets takers;
    for (const Drag& drag : drags)
        if (drag.isDragging && drag.isHeld)
            collectTakers(content, *drag.widget, takers);
    for (const auto& weak : m_takers)
        if (const auto widget = weak.lock())
            if (!contains(takers, *widget))
                widget->removeCSSClass("would-take");
    for (const auto& weak : takers)
        weak.lock()->addCSSClass("would-take");
    m_takers = std::move(takers);
}
}
