#include "drawing/ScenePainter.hpp"

#include "tree/DrawnPlace.hpp"
#include "tree/WidgetRecords.hpp"

#include <Lantern/RenderContext.hpp>

#include <algorithm>

namespace Trellis
{
namespace
{
Lantern::Edges edgesOf(bool isSmooth)
{
    return isSmooth ? Lantern::Edges::Smooth : Lantern::Edges::Sharp;
}
}

void ScenePainter::paint(const Widget& root, Lantern::RenderContext& context)
{
    (void)root.size(); // reading a geometry lays the tree out
    paintWidget(root, context);
}

bool ScenePainter::isShown(const Widget& widget)
{
    return WidgetRecords::of(widget).isShown();
}

bool ScenePainter::hasShownChildren(const Widget& widget)
{
    return std::any_of(widget.children().begin(), widget.children().end(), [](const auto& child) { return isShown(*child); });
}

void ScenePainter::paintUpright(const Widget& widget, Lantern::RenderContext& context)
{
    (void)widget.size();
    paintContent(widget, context);
}

void ScenePainter::paintContent(const Widget& widget, Lantern::RenderContext& context)
{
    const WidgetRecords& records = WidgetRecords::of(widget);
    const Vecta::Rect box = records.layout.bounds();
    if (context.isVisible(records.drawing.drawnArea(box)))
        widget.renderContent(context);
    const bool clips = records.drawing.clips() && hasShownChildren(widget);
    if (clips)
        context.pushClip(box, records.drawing.corners());
    for (const auto& child : widget.children())
        paintWidget(*child, context);
    if (clips)
        context.pop();
}

void ScenePainter::paintKept(const Widget& widget, WidgetLayer& layer, Lantern::RenderContext& context)
{
    context.drawKept(layer.picture, drawnCornerInParent(widget), WidgetRecords::of(widget).drawing.opacity.value(),
                     [&widget](Lantern::RenderContext& inPicture) {
                         Vecta::Transform turned = drawnTransformToParent(widget);
                         turned.dx = turned.dy = 0.f;
                         inPicture.pushTransform(turned);
                         paintContent(widget, inPicture);
                         inPicture.pop();
                     });
}

void ScenePainter::paintWidget(const Widget& widget, Lantern::RenderContext& context)
{
    // Before anything is pushed: most widgets are outside of the area that is drawn.
    if (!isShown(widget))
        return;
    const Reach& reach = reachOf(widget);
    if (!context.isVisible(reach.inParent, edgesOf(reach.isSmooth)))
        return;
    const WidgetRecords& records = WidgetRecords::of(widget);
    if (records.drawing.layer && records.drawing.layer->isKept) {
        paintKept(widget, *records.drawing.layer, context);
        return;
    }
    context.pushTransform(drawnTransformToParent(widget));
    const float opacity = records.drawing.opacity.value();
    const bool fades = opacity < 1.f;
    // Only what overlaps needs to be put together before it is faded.
    if (fades && hasShownChildren(widget))
        context.pushLayer(reach.inside, opacity, edgesOf(reach.isSmoothInside));
    else if (fades)
        context.pushOpacity(opacity);
    paintContent(widget, context);
    if (fades)
        context.pop();
    context.pop();
}
}
