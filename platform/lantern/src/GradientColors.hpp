#pragma once

#include <Lantern/BoxFill.hpp>

#include <QRgb>

#include <cmath>
#include <cstddef>
#include <vector>

namespace Lantern
{
/// The colours of a gradient, mixed premultiplied. Any thread.
class GradientColors
{
public:
    GradientColors() = default;
    /// `opacity` 0..1.
    GradientColors(const Gradient& gradient, double opacity);
    /// Premultiplied, at a place of the tile. Called for each pixel, so it is inline.
    [[nodiscard]] QRgb at(double x, double y) const { return atOffset(offsetOf(x, y)); }
    /// Whether offsets change by the same from place to place.
    [[nodiscard]] bool isLinear() const { return !m_isRadial; }
    /// How far between the ends of the gradient a place lies, 0..1 and beyond.
    [[nodiscard]] double offsetOf(double x, double y) const
    {
        const double across = (x - m_fromX) * m_perX, along = (y - m_fromY) * m_perY;
        return m_isRadial ? std::sqrt(across * across + along * along) : across + along;
    }
    [[nodiscard]] QRgb atOffset(double offset) const
    {
        // Where two stops lie at one place the later one counts from there on.
        std::size_t next = 0;
        while (next < m_stops.size() && m_stops[next].offset <= offset)
            ++next;
        if (next == 0 || next == m_stops.size())
            return rounded(m_stops[next == 0 ? 0 : next - 1].color);
        const Stop& before = m_stops[next - 1];
        const Stop& after = m_stops[next];
        const double way = (offset - before.offset) * before.perOffset;
        const double part = after.exponent == 1.0 ? way : std::pow(way, after.exponent);
        double mixed[4];
        for (int i = 0; i < 4; ++i)
            mixed[i] = before.color[i] + (after.color[i] - before.color[i]) * part;
        return rounded(mixed);
    }
    [[nodiscard]] bool isOpaque() const;

private:
    struct Stop
    {
        double offset;
        double color[4];        ///< alpha, red, green, blue, premultiplied, 0..255
        double exponent;        ///< as of Gradient::Stop
        double perOffset = 0.0; ///< of the way to the next one
    };
    [[nodiscard]] static QRgb rounded(const double (&color)[4])
    {
        const auto component = [&color](int i) { return unsigned(int(color[i] + 0.5)); };
        return component(0) << 24 | component(1) << 16 | component(2) << 8 | component(3);
    }

    std::vector<Stop> m_stops;
    bool m_isRadial = false;
    double m_fromX = 0.0, m_fromY = 0.0;
    double m_perX = 0.0, m_perY = 0.0; ///< of the offset; of a radial one 1 / radius
};
}
