#include "input/HitTest.hpp"

#include "application/Guarded.hpp"
#include "layout/LayoutEngine.hpp"
#include "tree/WidgetPrivate.hpp"

namespace Trellis
{
Widget* HitTest::taker(Widget& root, GrabManager& grabManager, const Tactile::TrackedObject& object)
{
    LayoutEngine::bringUpToDate(root);
    return search(root, root.mapFromParent(object.centerLocation()), grabManager, object);
}

/// `point` is in the widget's coordinates.
Widget* HitTest::search(Widget& widget, Vecta::Vector2f point, GrabManager& grabManager, const Tactile::TrackedObject& object)
{
    const auto& d = *widget.d;
    if (d.display.value() == Display::None || d.opacity.value() <= 0.f || d.scale.value() <= 0.f || d.inputDisabled
        || d.fadingOut)
        return nullptr;
    const bool clipped = d.overflow.value() == Overflow::Hidden && !Vecta::Rect{0.f, 0.f, d.size.x, d.size.y}.contains(point);
    if (!clipped) {
        for (std::size_t i = widget.m_children.size(); i > 0; --i) {
            Widget& child = *widget.m_children[i - 1];
            if (Widget* found = search(child, child.mapFromParent(point), grabManager, object))
                return found;
        }
    }
    if (d.inputTransparent.value())
        return nullptr;
    bool takes = false;
    guarded("Widget::shouldGrab", [&] { takes = widget.shouldGrab(grabManager, object); });
    return takes ? &widget : nullptr;
}
}
