#pragma once

namespace Lantern
{
class RenderContext;
}

namespace Trellis
{
class Widget;
struct WidgetLayer;

/// Draws a tree of widgets: each one below its children, these from the bottom to the top. What is hidden, wholly
/// transparent or outside the visible part of the context is not drawn.
class ScenePainter
{
public:
    /// Draws `root` and what is in it in the coordinates of its parent. Brings the layout up to date first.
    static void paint(const Widget& root, Lantern::RenderContext& context);

    /// As above in the widget's own coordinates, as if it were opaque, and whether it shows or not.
    static void paintUpright(const Widget& widget, Lantern::RenderContext& context);

private:
    static void paintContent(const Widget& widget, Lantern::RenderContext& context);
    static void paintKept(const Widget& widget, WidgetLayer& layer, Lantern::RenderContext& context);
    static void paintWidget(const Widget& widget, Lantern::RenderContext& context);
    [[nodiscard]] static bool isShown(const Widget& widget);
    [[nodiscard]] static bool hasShownChildren(const Widget& widget);
};
}
