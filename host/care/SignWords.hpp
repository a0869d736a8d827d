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
/// A hand that holds a card, and a tracker, move it so far without meaning it. Less than the gap between words and a card.
constexpr float kTrembleMm = 1.f;

/// What the words of a card's sign must keep clear of, in table pixels.
struct SignSurroundings
{
    PlaceSearch::Outline card{}; ///< the sign's own
    std::vector<PlaceSearch::Outline> otherCards;
    std::vector<PlaceSearch::Outline> others; ///< kept free while there is room
    Vecta::Vector2f table;
    float gapPx = 0.f;     ///< between the words and a card
    float tremblePx = 0.f; ///< changes of places up to this do not count
};

/// What the place of a sign's words depends on besides their surroundings.
struct SignWordsShape
{
    Vecta::Vector2f size;     ///< of the words
    Vecta::Vector2f signSize; ///< of the sign
    Vecta::Vector2f location; ///< of the words in the sign, as style sheets put them
    float angleRadians = 0.f;

    /// But for the angle.
    [[nodiscard]] bool isSameUnturned(const SignWordsShape& other) const noexcept
    {
        return size == other.size && signSize == other.signSize && location == other.location;
    }
};

/// The shape of `words`, a child of `sign`; neither is scaled at rest. Nothing for words that are not shown or are empty. Brings
/// the layout up to date. Main thread only.
[[nodiscard]] std::optional<SignWordsShape> signWordsShape(Trellis::Widget& words, const Trellis::Widget& sign);

/// Lets the words of one sign stand where style sheets put them, or, where they would be cut off or below a card, in the place
/// next to that which is whole on the table and free. The place is searched anew only when something changed that it depends on:
/// the words, their card by more than a tremble, or what lies no further from where style sheets put the words than they stand
/// themselves. Main thread only.
class SignWords
{
public:
    /// `center`: of the sign on the table. `shape`: that of the words now. Returns the outline of the words on the table.
    PlaceSearch::Outline place(Trellis::Widget& words, const SignWordsShape& shape, Vecta::Vector2f center,
                               const SignSurroundings& surroundings);

private:
    /// What the place was searched for, of the surroundings as much as it depends on, and the place that was found.
    struct Searched
    {
        SignWordsShape shape;
        PlaceSearch search;
        float reachPx = 0.f;        ///< how far around the wanted place something may change the one that was found
        Vecta::Vector2f fromCenter; ///< from the sign's centre to the words', not turned
    };
    [[nodiscard]] bool isStillRight(const SignWordsShape& shape, const PlaceSearch& now, float tremblePx) const;

    std::optional<Searched> m_searched;
};
}
