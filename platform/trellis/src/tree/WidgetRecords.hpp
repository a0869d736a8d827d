#pragma once

#include "tree/DrawingRecord.hpp"
#include "tree/InputRecord.hpp"
#include "tree/LayoutRecord.hpp"
#include "tree/MotionRecord.hpp"
#include "tree/UpdateRecord.hpp"

#include <Bedrock/Prefetch.hpp>
#include <Trellis/Widget.hpp>

namespace Trellis
{
/// Everything of a widget but its place in the tree, one record for each engine. The way of the engines into a widget.
struct WidgetRecords
{
    explicit WidgetRecords(Widget& host) : layout(&host), drawing(&host), input(&host) {}

    [[nodiscard]] static WidgetRecords& of(const Widget& widget) noexcept { return *widget.d; }
    /// The application's tree begins or ends at `root`, which has no parent.
    static void enterTree(Widget& root) { root.enterTree(); }
    static void leaveTree(Widget& root) { root.leaveTree(); }

    /// Widget::contentSize, for the layout.
    [[nodiscard]] static Vecta::Vector2f contentSize(const Widget& widget, float availableWidth)
    {
        return widget.contentSize(availableWidth);
    }

    /// For loops over many widgets, which are rarely in the processor's caches: first the object of one that comes later, then,
    /// when that has arrived, its records.
    static void prefetch(const Widget& widget) noexcept { Bedrock::prefetch(&widget, sizeof(Widget)); }
    static void prefetchRecords(const Widget& widget) noexcept
    {
        Bedrock::prefetch(widget.d.get(), sizeof(LayoutRecord) + sizeof(DrawingRecord));
    }

    LayoutRecord layout;
    DrawingRecord drawing;
    InputRecord input;
    MotionRecord motion;
    UpdateRecord update;

    /// As Facet::Node::makeRareAttributes.
    bool makeRareAttributes(Widget& host, int nameNumber);

    /// Neither hidden nor wholly transparent itself.
    [[nodiscard]] bool isShown() const { return layout.display.value() != Display::None && drawing.opacity.value() > 0.f; }
};

/// In a loop over pointers to widgets that is at the one with that index.
template <class Widgets>
void prefetchAhead(const Widgets& widgets, std::size_t index) noexcept
{
    constexpr std::size_t kObjectsAhead = 6, kRecordsAhead = 3;
    if (index + kObjectsAhead < widgets.size())
        WidgetRecords::prefetch(*widgets[index + kObjectsAhead]);
    if (index + kRecordsAhead < widgets.size())
        WidgetRecords::prefetchRecords(*widgets[index + kRecordsAhead]);
}

/// As above for loops that also visit what is in each of the widgets.
template <class Widgets>
void prefetchAheadWithChildren(const Widgets& widgets, std::size_t index) noexcept
{
    constexpr std::size_t kListsAhead = 3, kChildrenAhead = 2, kMostChildren = 3;
    prefetchAhead(widgets, index);
    if (index + kListsAhead < widgets.size())
        Bedrock::prefetch(widgets[index + kListsAhead]->children().data(), 1);
    const auto each = [&](std::size_t i, auto fetch) {
        if (i < widgets.size())
            for (std::size_t k = 0; k < kMostChildren && k < widgets[i]->children().size(); ++k)
                fetch(*widgets[i]->children()[k]);
    };
    each(index + kChildrenAhead, [](const Widget& child) { WidgetRecords::prefetch(child); });
    each(index + 1, [](const Widget& child) { WidgetRecords::prefetchRecords(child); });
}

/// A while before a loop begins: first the objects, then the records.
enum class Prefetched { Objects, Records };
template <class Widgets>
void prefetchFirst(const Widgets& widgets, Prefetched what) noexcept
{
    constexpr std::size_t kFirst = 2;
    for (std::size_t i = 0; i < kFirst && i < widgets.size(); ++i)
        what == Prefetched::Objects ? WidgetRecords::prefetch(*widgets[i]) : WidgetRecords::prefetchRecords(*widgets[i]);
}
}
