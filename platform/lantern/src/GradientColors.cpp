#include "GradientColors.hpp"

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
QRgb rounded(const double (&color)[4])
{
    const auto component = [&color](int i) { return unsigned(int(color[i] + 0.5)); };
    return component(0) << 24 | component(1) << 16 | component(2) << 8 | component(3);
}

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
        m_stops.push_back(
            {double(stop.offset), {alpha, component(stop.color.red), component(stop.color.green), component(stop.color.blue)}});
    }
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

double GradientColors::offsetOf(double x, double y) const
{
    const double across = (x - m_fromX) * m_perX, along = (y - m_fromY) * m_perY;
    return m_isRadial ? std::sqrt(across * across + along * along) : across + along;
}

QRgb GradientColors::at(double x, double y) const
{
    const double offset = offsetOf(x, y);
    // Where two stops lie at one place the later one counts from there on.
    const auto next = std::find_if(m_stops.begin(), m_stops.end(), [offset](const Stop& stop) { return stop.offset > offset; });
    if (next == m_stops.begin())
        return rounded(next->color);
    const Stop& before = *(next - 1);
    if (next == m_stops.end())
        return rounded(before.color);
    const double part = (offset - before.offset) / (next->offset - before.offset);
    double mixed[4];
    for (int i = 0; i < 4; ++i)
        mixed[i] = before.color[i] + (next->color[i] - before.color[i]) * part;
    return rounded(mixed);
}

bool GradientColors::isOpaque() const
{
    return std::all_of(m_stops.begin(), m_stops.end(), [](const Stop& stop) { return stop.color[0] >= 255.0; });
}
}
