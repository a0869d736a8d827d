#pragma once

#include "care/PlaceSearch.hpp"

namespace Trellis
{
class Widget;
}

namespace Host
{
/// What the words of a card's sign must keep clear of, in table pixels.
struct SignSurroundings
{
    PlaceSearch::Outline card{}; ///< the sign's own
    std::vector<PlaceSearch::Outline> otherCards;
    Vecta::Vector2f table;
    float gapPx = 0.f; ///< between the words and a card
};

/// Lets the words of a sign stand where style sheets put them, or, where they would be cut off or below a card, in the place next
/// to that which is whole on the table and free. `words` is a child of `sign`, whose centre lies at `center` on the table;
/// neither is scaled at rest. Main thread only.
void placeSignWords(Trellis::Widget& words, const Trellis::Widget& sign, Vecta::Vector2f center,
                    const SignSurroundings& surroundings);
}
