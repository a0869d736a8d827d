#include "input/HitTest.hpp"

#include "tree/FrameGuard.hpp"
#include "tree/WidgetRecords.hpp"

namespace Trellis
{
Widget* HitTest::taker(Widget& root, GrabManager& grabManager, const Tactile::TrackedObject& object)
{
    bringLayoutUpToDate(root);
    return search(root, WidgetRecords::of(root).layout.fromParent(object.centerLocation()), grabManager, object);
}

/// `point` is in the widget's coordinates.
Widget* HitTest::search(Widget& widget, Vecta::Vector2f point, GrabManager& grabManager, const Tactile::TrackedObject& object)
{
    const WidgetRecords& records = WidgetRecords::of(widget);
    if (!records.isShown() || records.layout.scale.value() <= 0.f || records.input.isClosed())
        return nullptr;
    const bool clipped = records.drawing.clips() && !records.layout.bounds().contains(point);
    if (!clipped) {
        for (std::size_t i = widget.children().size(); i > 0; --i) {
            Widget& child = *widget.children()[i - 1];
            if (Widget* found = search(child, child.mapFromParent(point), grabManager, object))
                return found;
        }
    }
    if (records.input.inputTransparent.value())
        return nullptr;
    bool takes = false;
    guardedInFrame("Widget::shouldGrab", [&] { takes = widget.shouldGrab(grabManager, object); });
    return takes ? &widget : nullptr;
}
}
