#pragma once

#include <Trellis/Widget.hpp>

namespace Trellis
{
/// Finds the widget that receives an object that appears.
class HitTest
{
public:
    /// Asks the widgets of the tree from the top to the bottom (children before their parent, later siblings first) with
    /// Widget::shouldGrab; null when none accepts it. Hidden and transparent widgets, those on their way out and what is
    /// in them are not asked; a widget that hides its overflow keeps its children from being touched outside it.
    [[nodiscard]] static Widget* taker(Widget& root, GrabManager& grabManager, const Tactile::TrackedObject& object);

private:
    static Widget* search(Widget& widget, Vecta::Vector2f point, GrabManager& grabManager, const Tactile::TrackedObject& object);
};
}
