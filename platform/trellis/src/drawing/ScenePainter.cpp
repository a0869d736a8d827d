#include "drawing/ScenePainter.hpp"

#include "tree/WidgetPrivate.hpp"

#include <Lantern/RenderContext.hpp>

#include <algorithm>

namespace Trellis
{
void ScenePainter::paint(const Widget& root, Lantern::RenderContext& context)
{
    (void)root.size(); // reading a geometry lays the tree out
    paintWidget(root, context);
}

bool ScenePainter::isShown(const Widget& widget)
{
    return widget.d->display.value() != Display::None && widget.d->opacity.value() > 0.f;
}

bool ScenePainter::hasShownChildren(const Widget& widget)
{
    return std::any_of(widget.m_children.begin(), widget.m_children.end(), [](const auto& child) { return isShown(*child); });
}

Vecta::Rect ScenePainter::subtreeBounds(const Widget& widget)
{
    Vecta::Rect bounds{0.f, 0.f, widget.d->size.x, widget.d->size.y};
    if (widget.d->overflow.value() == Overflow::Hidden)
        return bounds;
    for (const auto& child : widget.m_children)
        if (isShown(*child))
            bounds = bounds.united(child->transformToParent().mapBounds(subtreeBounds(*child)));
    return bounds;
}

void ScenePainter::paintUpright(const Widget& widget, Lantern::RenderContext& context)
{
    (void)widget.size();
    paintContent(widget, context);
}

void ScenePainter::paintContent(const Widget& widget, Lantern::RenderContext& context)
{
    const auto& d = *widget.d;
    const Vecta::Rect box{0.f, 0.f, d.size.x, d.size.y};
    if (context.isVisible(box))
        widget.renderContent(context);
    if (!hasShownChildren(widget))
        return;
    const bool clips = d.overflow.value() == Overflow::Hidden;
    if (clips)
        context.pushClip(box, d.borderRadius.value());
    for (const auto& child : widget.m_children)
        paintWidget(*child, context);
    if (clips)
        context.pop();
}

void ScenePainter::paintWidget(const Widget& widget, Lantern::RenderContext& context)
{
    if (!isShown(widget))
        return;
    const auto& d = *widget.d;
    const Vecta::Rect box{0.f, 0.f, d.size.x, d.size.y};
    const bool clips = d.overflow.value() == Overflow::Hidden;

    context.pushTransform(widget.transformToParent());
    const bool boxIsVisible = context.isVisible(box);
    if (boxIsVisible || (!clips && !widget.m_children.empty())) {
        const bool hasChildren = hasShownChildren(widget);
        const float opacity = d.opacity.value();
        const bool fades = opacity < 1.f;
        // Only what overlaps needs to be put together before it is faded.
        if (fades && hasChildren)
            context.pushLayer(subtreeBounds(widget), opacity);
        else if (fades)
            context.pushOpacity(opacity);

        paintContent(widget, context);
        if (fades)
            context.pop();
    }
    context.pop();
}
}
