#pragma once

#include <Bedrock/FlagGuard.hpp>
#include <Bedrock/IntrusivePtr.hpp>
#include <Vecta/Vector2T.hpp>

#include <cstddef>
#include <vector>

namespace Trellis
{
class Widget;
class WidgetEngines;
struct Room;

/// Decides how large widgets are and where the flow puts them. Works when a geometry is read, on what was made dirty since.
///
/// A widget's size includes its padding; borders are drawn inside it. Children that stand in the flow fill the content box
/// (the widget without its padding): a block has a line of its own, inline children share lines, which wrap. The flow
/// uses a child's box as its scale shows it, not as its rotation does. Out of the flow are children with "position:
/// absolute" and those whose location a style sheet sets; for them 100% is the whole parent, and an auto size is that of the
/// content.
///
/// The location that the flow gives is written to layer 0 when the whole tree is laid out; only then listeners are called.
class LayoutEngine
{
public:
    explicit LayoutEngine(WidgetEngines& engines) : m_engines(engines) {}
    LayoutEngine(const LayoutEngine&) = delete;
    LayoutEngine& operator=(const LayoutEngine&) = delete;

    /// Lays out what is dirty in the tree that `widget` belongs to. While a layout is under way: does nothing.
    void bringUpToDate(const Widget& widget);
    /// As long as the guard lives no layout is made, and geometries are read as they were at the last one. Not while a
    /// layout is under way.
    [[nodiscard]] Bedrock::FlagGuard hold() { return Bedrock::FlagGuard(m_isRunning); }
    /// The size of the children's flow in a content box of that width.
    [[nodiscard]] Vecta::Vector2f flowSize(const Widget& widget, float availableWidth);
    /// How many widgets had their children placed so far.
    [[nodiscard]] long widgetsArranged() const noexcept { return m_arranged; }

private:
    struct Line;

    void finishLine(const Widget& widget, const Room& room, Line& line, bool place);
    Vecta::Vector2f flow(Widget& widget, const Room& room, bool place);
    void layOut(Widget& widget, const Room& room);
    void arrange(Widget& widget);
    void placeBesideFlow(const Widget& widget, Widget& child, const Room& room);
    static void placeAbsolute(const Widget& widget, const Widget& child);
    void descend(Widget& widget);
    void moveTo(Widget& child, Vecta::Vector2f location);
    void deliverMoves();

    WidgetEngines& m_engines;
    bool m_isRunning = false;
    long m_arranged = 0;
    std::size_t m_moved = 0; ///< children of the widget that is being arranged
    std::vector<Bedrock::IntrusivePtr<Widget>> m_pendingMoves;
};
}
