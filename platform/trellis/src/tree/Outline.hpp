#pragma once

#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

#include <array>

namespace Trellis
{
/// A rectangle that may be turned, scaled and mirrored: its corners, in order around it. Nothing as long as it has no width or
/// no height.
struct Outline
{
    std::array<Vecta::Vector2f, 4> corners{};

    [[nodiscard]] Outline moved(Vecta::Vector2f by) const;
    [[nodiscard]] float area() const;
    /// The upright rectangle around it; empty, or with places that are no numbers, where the corners are so.
    [[nodiscard]] Vecta::Rect bounds() const;
    /// The same around the part of it that lies between two heights. A width below 0 where none does.
    [[nodiscard]] Vecta::Rect boundsBetween(float top, float bottom) const;
};
}
