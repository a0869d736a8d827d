#pragma once

#include "tree/DrawingRecord.hpp"
#include "tree/InputRecord.hpp"
#include "tree/LayoutRecord.hpp"
#include "tree/MotionRecord.hpp"
#include "tree/UpdateRecord.hpp"

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

    LayoutRecord layout;
    DrawingRecord drawing;
    InputRecord input;
    MotionRecord motion;
    UpdateRecord update;
    bool inTree = false; ///< the application's main layer or below it; written by Widget

    /// As Facet::Node::makeRareAttributes.
    bool makeRareAttributes(Widget& host, int nameNumber);

    /// Neither hidden nor wholly transparent itself.
    [[nodiscard]] bool isShown() const { return layout.display.value() != Display::None && drawing.opacity.value() > 0.f; }
};
}
