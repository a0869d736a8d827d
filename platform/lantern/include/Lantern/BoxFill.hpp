#pragma once

#include <Bedrock/Color.hpp>
#include <Vecta/Rect.hpp>

#include <QImage>

#include <vector>

namespace Lantern
{
/// Colours along a line, or from a point outwards, with places in the coordinates of the tile that it fills. Between two stops
/// colours are mixed premultiplied; before the first and after the last it has theirs. A plain value.
struct Gradient
{
    enum class Kind { Linear, Radial };
    struct Stop
    {
        float offset = 0.f;   ///< 0 at `from`, 1 at `to`; not smaller than that of the stop before
        Bedrock::Color color; ///< not premultiplied
        /// On the way here from the stop before, a share `p` of the way has `p` to this power of the colour; 1 is even. From 0
        /// (this colour all the way) to infinity (that of the stop before).
        float exponent = 1.f;
    };
    Kind kind = Kind::Linear;
    Vecta::Vector2f from; ///< where the line begins, or the centre
    Vecta::Vector2f to;   ///< where the line ends, or the radii across and along
    std::vector<Stop> stops;
};

/// What a box is filled with: the picture if there is one, else the gradient if it has stops, else the colour.
struct BoxFill
{
    Bedrock::Color color{0.f, 0.f, 0.f, 0.f}; ///< not premultiplied
    Gradient gradient;
    QImage image;
    /// Where one copy of the picture or gradient lies, in the box's coordinates, and whether it repeats.
    Vecta::Rect tile;
    bool repeatsX = false;
    bool repeatsY = false;
};

/// A border inside of a box.
struct BoxFrame
{
    float top = 0.f, right = 0.f, bottom = 0.f, left = 0.f;      ///< widths in pixels
    Bedrock::Color topColor, rightColor, bottomColor, leftColor; ///< not premultiplied
};
}
