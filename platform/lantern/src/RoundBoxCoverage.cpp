#include "RoundBoxCoverage.hpp"

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
double share(double insidePx)
{
    return std::clamp(insidePx + 0.5, 0.0, 1.0);
}
}

RoundBoxCoverage::RoundBoxCoverage(const RoundBox& box, double pixelsPerUnit)
    : m_left(double(box.rect.x)), m_top(double(box.rect.y)), m_right(double(box.rect.right())),
      m_bottom(double(box.rect.bottom())), m_scale(pixelsPerUnit)
{
    const auto add = [this](Vecta::Vector2f radii, double cornerX, double cornerY, double signX, double signY) {
        const double rx = double(radii.x), ry = double(radii.y);
        if (rx > 0.0 && ry > 0.0)
            m_corners[std::size_t(m_cornerCount++)] = {cornerX - signX * rx, cornerY - signY * ry, signX, signY, rx, ry};
    };
    const auto& c = box.corners;
    m_straightLeft = m_left + double(std::max(c.topLeft.x, c.bottomLeft.x));
    m_straightRight = m_right - double(std::max(c.topRight.x, c.bottomRight.x));
    m_straightTop = m_top + double(std::max(c.topLeft.y, c.topRight.y));
    m_straightBottom = m_bottom - double(std::max(c.bottomLeft.y, c.bottomRight.y));
    add(box.corners.topLeft, m_left, m_top, -1.0, -1.0);
    add(box.corners.topRight, m_right, m_top, 1.0, -1.0);
    add(box.corners.bottomRight, m_right, m_bottom, 1.0, 1.0);
    add(box.corners.bottomLeft, m_left, m_bottom, -1.0, 1.0);
}

double RoundBoxCoverage::at(double x, double y) const
{
    const bool isBesideCorners = (x >= m_straightLeft && x <= m_straightRight) || (y >= m_straightTop && y <= m_straightBottom);
    for (int i = 0; i < (isBesideCorners ? 0 : m_cornerCount); ++i) {
        const Corner& corner = m_corners[std::size_t(i)];
        const double across = (x - corner.centreX) * corner.signX;
        const double along = (y - corner.centreY) * corner.signY;
        if (across <= 0.0 || along <= 0.0)
            continue;
        // The distance to the ellipse to the first order, which is exact for a circle.
        const double unitX = across / corner.radiusX, unitY = along / corner.radiusY;
        const double k = std::sqrt(unitX * unitX + unitY * unitY);
        const double slopeX = unitX / corner.radiusX, slopeY = unitY / corner.radiusY;
        const double outside = (k - 1.0) * k / std::sqrt(slopeX * slopeX + slopeY * slopeY);
        return share(-outside * m_scale);
    }
    const double across = share((x - m_left) * m_scale) + share((m_right - x) * m_scale) - 1.0;
    const double along = share((y - m_top) * m_scale) + share((m_bottom - y) * m_scale) - 1.0;
    return std::max(0.0, across) * std::max(0.0, along);
}
}
