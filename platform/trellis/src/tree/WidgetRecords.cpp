#include "tree/WidgetRecords.hpp"

namespace Trellis
{
bool WidgetRecords::makeRareAttributes(Widget& host, int nameNumber)
{
    if (nameNumber != 0)
        return layout.limits.makeNamed(host, nameNumber) || layout.insets.makeNamed(host, nameNumber)
            || layout.spacing.makeNamed(host, nameNumber) || drawing.border.makeNamed(host, nameNumber)
            || motion.handling.makeNamed(host, nameNumber);
    layout.limits.make(host);
    layout.insets.make(host);
    layout.spacing.make(host);
    drawing.border.make(host);
    motion.handling.make(host);
    return true;
}
}
