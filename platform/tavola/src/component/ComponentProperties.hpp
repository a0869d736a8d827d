#pragma once

#include <QStringList>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
class Component;

/// Gives a widget the id, the classes and the attributes (on the run-time layer) that its component's properties name. A
/// property that does not fit is a warning and is skipped. False, with an error in the log, when one of the restrictions of
/// the component's schema does not fit: without it the widget would let through what it was to keep out.
[[nodiscard]] bool applyProperties(const Component& component, Trellis::Widget& widget);

/// Compares the attributes of the component's properties with a widget such as it makes, which stays as it is. Reports what does
/// not fit as `applyProperties` does, and puts the names into `unfit`. False when a restriction is among them.
[[nodiscard]] bool checkAttributes(const Component& component, Trellis::Widget& sample, QStringList& unfit);
}
