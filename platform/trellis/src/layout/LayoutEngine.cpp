#include "layout/LayoutEngine.hpp"

#include "layout/BoxSize.hpp"
#include "tree/WidgetEngines.hpp"
#include "tree/WidgetRecords.hpp"

#include <algorithm>
#include <utility>

namespace Trellis
{
using Vecta::Vector2f;

namespace
{
/// Room that never ends, for a widget without parent. Not infinite, so that sums and halves stay numbers.
constexpr float kUnlimited = 1e6f;
/// Three boxes of a third must fit in a line, whatever the sum of rounded thirds is.
constexpr float kTolerancePx = 0.05f;
constexpr int kMostRounds = 4;
/// Of a thousand moves the first ones have left the processor's caches when they are delivered.
constexpr std::size_t kMovesAhead = 3;
constexpr std::size_t kManyMoves = 16;

LayoutRecord& layoutOf(const Widget& widget)
{
    return WidgetRecords::of(widget).layout;
}
}

void LayoutEngine::bringUpToDate(const Widget& widget)
{
    if (m_isRunning)
        return;
    // A listener to moves may change the layout again. The number of rounds is limited, so that one that does so every time
    // cannot hang the frame.
    for (int round = 0; round < kMostRounds; ++round) {
        const Widget& root = *widget.nearest([](const Widget& ancestor) { return !ancestor.parent(); });
        if (!isLayoutDirty(root))
            return;
        {
            const Bedrock::FlagGuard running(m_isRunning);
            layOut(const_cast<Widget&>(root), Room{kUnlimited, -1.f, true});
        }
        deliverMoves();
    }
}

Vector2f LayoutEngine::flowSize(const Widget& widget, float availableWidth)
{
    return flow(const_cast<Widget&>(widget), Room{availableWidth, -1.f, true}, false);
}

// ---- The flow --------------------------------------------------------------------------------------------------------

struct LayoutEngine::Line
{
    std::size_t first = 0; ///< index of the first child in it, and of the child after the last
    std::size_t end = 0;
    bool isEmpty = true;
    float width = 0.f;
    float height = 0.f;
    float top = 0.f;
    float widest = 0.f; ///< of all lines so far
    bool any = false;   ///< something stands above
};

/// Moves the line's widgets to where the alignment wants them, and goes to below the line.
void LayoutEngine::finishLine(const Widget& widget, const Room& room, Line& line, bool place)
{
    if (line.isEmpty)
        return;
    const LayoutRecord& d = layoutOf(widget);
    if (place) {
        const Alignment align = d.spacing->align.value();
        const bool isMirrored = d.spacing->direction.value() == FlowDirection::RightToLeft;
        const float share = align == Alignment::Left ? 0.f : align == Alignment::Center ? 0.5f : 1.f;
        const float shift = std::max(0.f, room.width - line.width) * share;
        for (std::size_t i = line.first; i < line.end; ++i) {
            LayoutRecord& c = layoutOf(*d.flowOrder[i]);
            if (c.display.value() != Display::Inline || c.isOutOfFlow())
                continue;
            if (isMirrored) {
                const Edges& margin = c.spacing->margin.value();
                c.flowLocation.x = 2.f * d.padLeft + line.width - c.flowLocation.x - c.size.x * std::max(0.f, c.scale.value())
                    + margin.left.resolve(room.width) - margin.right.resolve(room.width);
            }
            c.flowLocation.x += shift;
            moveTo(*d.flowOrder[i], c.flowLocation);
        }
    }
    line.widest = std::max(line.widest, line.width);
    line.top += line.height;
    line.width = line.height = 0.f;
    line.isEmpty = true;
    line.any = true;
}

Vector2f LayoutEngine::flow(Widget& widget, const Room& room, bool place)
{
    LayoutRecord& d = layoutOf(widget);
    const float gap = std::max(0.f, d.spacing->gap.value());
    Line line;
    for (std::size_t i = 0; i < d.flowOrder.size(); ++i) {
        if (place)
            prefetchAhead(d.flowOrder, i);
        Widget& child = *d.flowOrder[i];
        LayoutRecord& c = layoutOf(child);
        if (place)
            c.placeDirty = false;
        if (c.display.value() == Display::None || c.isOutOfFlow()) {
            if (place)
                placeBesideFlow(widget, child, room);
            continue;
        }
        if (place)
            layOut(child, room);
        const Vector2f box = (place ? c.size : boxSize(child, room, Sizing::Measure)) * std::max(0.f, c.scale.value());
        const Edges& margin = c.spacing->margin.value();
        const float marginLeft = margin.left.resolve(room.width);
        const float marginTop = margin.top.resolve(room.width);
        const float outerWidth = marginLeft + box.x + margin.right.resolve(room.width);
        const float outerHeight = marginTop + box.y + margin.bottom.resolve(room.width);

        if (c.display.value() == Display::Block) {
            finishLine(widget, room, line, place);
            if (line.any)
                line.top += gap;
            if (place) {
                float x = marginLeft;
                const float rest = room.width - outerWidth;
                if (margin.left.isAuto() && rest > 0.f)
                    x += margin.right.isAuto() ? rest / 2.f : rest;
                c.flowLocation = {d.padLeft + x, d.padTop + line.top + marginTop};
                moveTo(child, c.flowLocation);
            }
            line.widest = std::max(line.widest, outerWidth);
            line.top += outerHeight;
            line.any = true;
            continue;
        }

        if (!line.isEmpty && line.width + gap + outerWidth > room.width + kTolerancePx)
            finishLine(widget, room, line, place);
        if (line.isEmpty) {
            if (line.any)
                line.top += gap;
            line.first = i;
            line.isEmpty = false;
        } else {
            line.width += gap;
        }
        if (place)
            c.flowLocation = {d.padLeft + line.width + marginLeft, d.padTop + line.top + marginTop};
        line.width += outerWidth;
        line.height = std::max(line.height, outerHeight);
        line.end = i + 1;
    }
    finishLine(widget, room, line, place);
    return {line.widest, line.top};
}

void LayoutEngine::layOut(Widget& widget, const Room& room)
{
    LayoutRecord& d = layoutOf(widget);
    const float padsBefore[] = {d.padLeft, d.padTop, d.padRight, d.padBottom};
    const Vector2f size = boxSize(widget, room, Sizing::Final);
    const bool resized = size != d.size;
    if (resized) {
        // What scales about its middle moves with all that is in it.
        m_engines.appearanceChanged(widget, Redraw::Widget);
        if (d.scaleMoves)
            m_engines.appearanceChanged(widget, Redraw::Place);
        markReachStale(widget);
        d.size = size;
    }
    const bool padded =
        padsBefore[0] != d.padLeft || padsBefore[1] != d.padTop || padsBefore[2] != d.padRight || padsBefore[3] != d.padBottom;
    if (d.arrangeDirty || resized || padded)
        arrange(widget);
    else if (d.belowDirty)
        descend(widget);
}

void LayoutEngine::arrange(Widget& widget)
{
    LayoutRecord& d = layoutOf(widget);
    ++m_arranged;
    d.arrangeDirty = false;
    d.belowDirty = false;
    // A share of a height that itself follows from the content would be a circle.
    const float height = d.heightFromContent ? -1.f : std::max(0.f, d.size.y - d.padTop - d.padBottom);
    const Room room{std::max(0.f, d.size.x - d.padLeft - d.padRight), height, false};
    const std::size_t movedAround = std::exchange(m_moved, 0);
    flow(widget, room, true);
    // To draw all of it anew costs little more than to account for each of them.
    if (m_moved >= kManyMoves && m_moved * 2 >= d.flowOrder.size())
        m_engines.appearanceChanged(widget, Redraw::Children);
    m_moved = movedAround;
}

/// `widget` has its size, of which `room` is what the flow has.
void LayoutEngine::placeBesideFlow(const Widget& widget, Widget& child, const Room& room)
{
    if (layoutOf(child).display.value() == Display::None) {
        // Takes no place, but its geometry can be read.
        layOut(child, room);
        return;
    }
    const Vector2f whole = layoutOf(widget).size;
    layOut(child, Room{whole.x, whole.y, false});
    placeAbsolute(widget, child);
    moveTo(child, layoutOf(child).flowLocation);
}

/// By its size as it stands.
void LayoutEngine::placeAbsolute(const Widget& widget, const Widget& child)
{
    const Vector2f whole = layoutOf(widget).size;
    LayoutRecord& c = layoutOf(child);
    const Vector2f box = c.size * std::max(0.f, c.placingScale());
    const Edges& margin = c.spacing->margin.value();
    const auto along = [&](const Length& near, const Length& far, const Length& marginNear, const Length& marginFar, float extent,
                           float boxExtent) {
        const float before = marginNear.resolve(whole.x);
        const float after = marginFar.resolve(whole.x);
        if (near.isAuto() && far.isAuto())
            return before;
        if (near.isAuto())
            return extent - far.resolve(extent) - after - boxExtent;
        const float start = near.resolve(extent);
        const float rest = far.isAuto() ? 0.f : extent - start - far.resolve(extent) - boxExtent;
        if (!far.isAuto() && marginNear.isAuto())
            return start + (marginFar.isAuto() ? rest / 2.f : rest - after);
        return start + before;
    };
    c.flowLocation = {along(c.insets->left.value(), c.insets->right.value(), margin.left, margin.right, whole.x, box.x),
                      along(c.insets->top.value(), c.insets->bottom.value(), margin.top, margin.bottom, whole.y, box.y)};
}

/// The widget stands as it did, but something below it is dirty.
void LayoutEngine::descend(Widget& widget)
{
    LayoutRecord& d = layoutOf(widget);
    d.belowDirty = false;
    for (Widget* child : d.flowOrder) {
        if (std::exchange(layoutOf(*child).placeDirty, false) && layoutOf(*child).display.value() != Display::None) {
            placeAbsolute(widget, *child);
            moveTo(*child, layoutOf(*child).flowLocation);
        }
        if (layoutOf(*child).arrangeDirty)
            arrange(*child);
        else if (layoutOf(*child).belowDirty)
            descend(*child);
    }
}

// ---- Moving the widgets ----------------------------------------------------------------------------------------------

void LayoutEngine::moveTo(Widget& child, Vector2f location)
{
    LayoutRecord& d = layoutOf(child);
    if (d.movePending || d.location.value(Facet::kDefaultLayer) == location)
        return;
    d.movePending = true;
    ++m_moved;
    m_pendingMoves.emplace_back(&child);
}

void LayoutEngine::deliverMoves()
{
    // A listener may read geometry, and so start a layout that delivers all the rest itself.
    while (!m_pendingMoves.empty()) {
        if (m_pendingMoves.size() > kMovesAhead)
            WidgetRecords::prefetchRecords(*m_pendingMoves[m_pendingMoves.size() - kMovesAhead - 1]);
        const Bedrock::IntrusivePtr<Widget> widget = std::move(m_pendingMoves.back());
        m_pendingMoves.pop_back();
        LayoutRecord& d = layoutOf(*widget);
        d.movePending = false;
        d.location.setValue(d.flowLocation, Facet::kDefaultLayer);
    }
}
}
