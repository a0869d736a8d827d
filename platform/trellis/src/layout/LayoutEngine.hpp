#pragma once

#include <Bedrock/FlagGuard.hpp>
#include <Trellis/Widget.hpp>

#include <vector>

namespace Trellis
{
/// Decides how large widgets are and where the flow puts them. Works when a geometry is read, on what was made dirty since.
///
/// A widget's size includes its padding; borders are drawn inside it. Children that stand in the flow fill the content box
/// (the widget without its padding): a block has a line of its own, inline children share lines, which wrap. The flow
/// reckons with a child's box as its scale shows it, not with its rotation. Out of the flow are children with "position:
/// absolute" and those whose location a style sheet sets; for them 100% is the whole parent, and an auto size is that of the
/// content.
///
/// The location that the flow gives goes to layer 0. Listeners hear of it when the whole tree is laid out.
class LayoutEngine
{
public:
    /// What stands inside `widget` takes another size, or another place.
    static void invalidateContent(Widget& widget);
    /// The widget itself takes another size or place among its siblings.
    static void invalidateBox(Widget& widget);
    /// Lays out what is dirty in the tree that `widget` belongs to. While a layout is under way: does nothing.
    static void bringUpToDate(const Widget& widget);
    /// As long as the guard lives no layout is made, and geometries are read as they were at the last one. Not while a
    /// layout is under way.
    [[nodiscard]] static Bedrock::FlagGuard hold();
    [[nodiscard]] static bool isDirty(const Widget& root);
    /// The size of the children's flow in a content box of that width.
    [[nodiscard]] static Vecta::Vector2f flowSize(const Widget& widget, float availableWidth);
    /// How many widgets had their children placed since the process began.
    [[nodiscard]] static long widgetsArranged() noexcept;

private:
    /// The room that children find. A height below zero is not known yet.
    struct Room
    {
        float width;
        float height;
        /// The container is as wide as its content: blocks do not fill it.
        bool shrinks;
    };
    struct Line;

    static void markBelowDirty(Widget* widget);
    [[nodiscard]] static bool isOutOfFlow(const Widget& widget);
    [[nodiscard]] static Vecta::Vector2f measure(Widget& widget, float availableWidth);
    [[nodiscard]] static Vecta::Vector2f boxSize(Widget& widget, const Room& room, bool final);
    static Vecta::Vector2f flow(Widget& widget, const Room& room, bool place);
    static void finishLine(Widget& widget, const Room& room, Line& line, bool place);
    static void layOut(Widget& widget, const Room& room);
    static void arrange(Widget& widget);
    static void placeAbsolute(Widget& widget, Widget& child);
    static void descend(Widget& widget);
    static void moveTo(Widget& child, Vecta::Vector2f location);
    static void deliverMoves();
};
}
