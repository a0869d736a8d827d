#pragma once

#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

#include <array>
#include <vector>

namespace Host
{
/// How a widget that opens at a card stands to it, seen from the widget's own lower edge.
enum class Placement { At, Beside, Below, Above };

/// The place of a widget that opens at a card. Pure geometry; all lengths are table pixels, all outlines convex, with their
/// corners in one direction of rotation.
struct PlaceSearch
{
    using Outline = std::array<Vecta::Vector2f, 4>;

    Placement placement = Placement::At;
    Vecta::Vector2f center; ///< where the widget opened
    Vecta::Vector2f size;   ///< of the widget on the table, not turned
    float angleRadians = 0.f;
    std::vector<Vecta::Rect> keepClear; ///< parts that no card may cover, from the widget's top left corner, not turned
    Outline card{};                     ///< of the card that opened it
    std::vector<Outline> otherCards;
    std::vector<Outline> others; ///< other people's widgets
    Vecta::Vector2f table;
    float gapPx = 0.f; ///< between a card and what it does not cover

    /// Returns the centre nearest to the wanted one with which the widget is whole on the table, no card covers its parts, and
    /// it covers no other person's widget. The wanted centre is `center` for `Placement::At`, else next to the card; for
    /// `Beside` that side of the card where the widget moves less from it. The card may cover what is not kept clear rather than
    /// that a widget which stands next to it moves far away. Where there is no such place, the margins of other widgets may be
    /// covered, then all of them, then other cards may cover the parts, and at last the own one. A widget larger than the table
    /// is centred on it.
    [[nodiscard]] Vecta::Vector2f find() const;
    /// Whether the widget with this centre is whole on the table, no card covers its parts, and it covers no other person's
    /// widget; with a placement next to the card also, whether it stands clear of that card.
    [[nodiscard]] bool suits(Vecta::Vector2f middle) const;
    /// How often any place was searched since the process began. Main thread only.
    [[nodiscard]] static long searchesMade() noexcept;
};
}
