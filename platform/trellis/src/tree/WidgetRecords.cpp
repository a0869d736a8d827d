#include "tree/WidgetRecords.hpp"

namespace Trellis
{
bool WidgetRecords::makeRareAttributes(Widget& host, int nameNumber)
{
    if (nameNumber != 0)
        return layout.limits.makeNamed(host, nameNumber) || layout.insets.makeNamed(host, nameNumber)
            || layout.spacing.makeNamed(host, nameNumber) || drawing.border.makeNamed(host, nameNumber)
            || drawing.sides.makeNamed(host, nameNumber) || drawing.corner.makeNamed(host, nameNumber)
            || drawing.decoration.makeNamed(host, nameNumber) || drawing.background.makeNamed(host, nameNumber)
            || motion.handling.makeNamed(host, nameNumber);
    layout.limits.make(host);
    layout.insets.make(host);
    layout.spacing.make(host);
    drawing.border.make(host);
    drawing.sides.make(host);
    drawing.corner.make(host);
    drawing.decoration.make(host);
    drawing.background.make(host);
    motion.handling.make(host);
    return true;
}
}
