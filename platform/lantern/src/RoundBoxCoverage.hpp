#pragma once

#include <Lantern/RoundBox.hpp>

#include <array>

namespace Lantern
{
/// The share of a pixel that a box with round corners covers, from the pixel's place alone. Any thread.
class RoundBoxCoverage
{
public:
    RoundBoxCoverage() = default;
    /// `box`: with corners that fit. `pixelsPerUnit`: of the box's coordinates.
    RoundBoxCoverage(const RoundBox& box, double pixelsPerUnit);
    /// 0..1, of the pixel whose centre is there in the box's coordinates.
    [[nodiscard]] double at(double x, double y) const;

private:
    struct Corner
    {
        double centreX, centreY; ///< of the ellipse
        double signX, signY;     ///< towards the corner
        double radiusX, radiusY;
    };
    double m_left = 0.0, m_top = 0.0, m_right = 0.0, m_bottom = 0.0;
    /// Between these no corner is round.
    double m_straightLeft = 0.0, m_straightTop = 0.0, m_straightRight = 0.0, m_straightBottom = 0.0;
    double m_scale = 1.0;
    std::array<Corner, 4> m_corners{};
    int m_cornerCount = 0; ///< those that are round
};
}
