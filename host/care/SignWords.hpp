#pragma once

#include "care/PlaceSearch.hpp"

#include <optional>
#include <vector>

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
    std::vector<PlaceSearch::Outline> others; ///< kept free while there is room
    Vecta::Vector2f table;
    float gapPx = 0.f; ///< between the words and a card
};

/// What the place of a sign's words depends on besides their surroundings.
struct SignWordsShape
{
    Vecta::Vector2f size;     ///< of the words
    Vecta::Vector2f signSize; ///< of the sign
    Vecta::Vector2f location; ///< of the words in the sign, as style sheets put them
    float angleRadians = 0.f;

    [[nodiscard]] bool operator==(const SignWordsShape& other) const noexcept
    {
        return size == other.size && signSize == other.signSize && location == other.location
            && angleRadians == other.angleRadians;
    }
};

/// The shape of `words`, a child of `sign`; neither is scaled at rest. Nothing for words that are not shown or are empty. Brings
/// the layout up to date. Main thread only.
[[nodiscard]] std::optional<SignWordsShape> signWordsShape(Trellis::Widget& words, const Trellis::Widget& sign);

/// Lets the words of a sign whose centre lies at `center` on the table stand where style sheets put them, or, where they would be
/// cut off or below a card, in the place next to that which is whole on the table and free. `shape` is that of the words now.
/// Returns their outline on the table. Main thread only.
PlaceSearch::Outline placeSignWords(Trellis::Widget& words, const SignWordsShape& shape, Vecta::Vector2f center,
                                    const SignSurroundings& surroundings);
}
