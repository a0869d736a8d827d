#pragma once

namespace Trellis
{
class GrabManager;
class Widget;
}

namespace Host
{
struct CardOpening;

/// Gives what opened at a card the classes that a detector names for it in "opened-classes". They are those of the widget that
/// holds the card. Content that holds a card of its own has no such list: the first detector on the table, a widget with the
/// attribute "marker-filters", takes its cards, and its list holds. `root` is the root of the table. Nothing is given for a card
/// that was lifted. Main thread only.
void giveOpenedClasses(const CardOpening& opening, const Trellis::Widget& root, const Trellis::GrabManager& grabManager);
}
