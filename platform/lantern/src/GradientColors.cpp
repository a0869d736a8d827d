#include "GradientColors.hpp"

#include <algorithm>

namespace Lantern
{
namespace
{
double inverse(double value)
{
    return value > 0.0 ? 1.0 / value : 1e9;
}
}

GradientColors::GradientColors(const Gradient& gradient, double opacity) : m_isRadial(gradient.kind == Gradient::Kind::Radial)
{
    for (const Gradient::Stop& stop : gradient.stops) {
        const double alpha = std::clamp(double(stop.color.alpha), 0.0, 1.0) * opacity * 255.0;
        const auto component = [alpha](float value) { return std::clamp(double(value), 0.0, 1.0) * alpha; };
        m_stops.push_back({double(stop.offset),
                           {alpha, component(stop.color.red), component(stop.color.green), component(stop.color.blue)},
                           double(stop.exponent),
                           0.0});
    }
    for (std::size_t i = 0; i + 1 < m_stops.size(); ++i)
        m_stops[i].perOffset = inverse(m_stops[i + 1].offset - m_stops[i].offset);
    m_fromX = double(gradient.from.x);
    m_fromY = double(gradient.from.y);
    if (m_isRadial) {
        m_perX = inverse(double(gradient.to.x));
        m_perY = inverse(double(gradient.to.y));
        return;
    }
    const double dx = double(gradient.to.x) - m_fromX, dy = double(gradient.to.y) - m_fromY;
    const double squared = inverse(dx * dx + dy * dy);
    m_perX = dx * squared;
    m_perY = dy * squared;
}

bool GradientColors::isOpaque() const
{
    return std::all_of(m_stops.begin(), m_stops.end(), [](const Stop& stop) { return stop.color[0] >= 255.0; });
}
}
