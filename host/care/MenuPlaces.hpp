#pragma once

#include <Vecta/Vector2T.hpp>

namespace Host
{
class PlaceKeeper;
struct CardOpening;

/// Lets a menu that opened at a card end where it covers no other person's space and no card covers its entries, while there is
/// room. It opens out of the card all the same. A menu that follows its card stays exactly there, and what is no menu is left
/// alone. `table`: its size in pixels. Call it in the frame in which the menu opened. Main thread only.
void placeMenu(const CardOpening& opening, const PlaceKeeper& places, Vecta::Vector2f table);
}
