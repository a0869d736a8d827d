#pragma once

#include <Lantern/BoxFill.hpp>

#include <QRgb>

namespace Lantern
{
/// The colours of a gradient, mixed premultiplied. Any thread.
class GradientColors
{
public:
    GradientColors() = default;
    /// `opacity` 0..1.
    GradientColors(const Gradient& gradient, double opacity);
    /// Premultiplied, at a place of the tile.
    [[nodiscard]] QRgb at(double x, double y) const;
    [[nodiscard]] bool isOpaque() const;

private:
    struct Stop
    {
        double offset;
        double color[4]; ///< alpha, red, green, blue, premultiplied, 0..255
    };
    [[nodiscard]] double offsetOf(double x, double y) const;

    std::vector<Stop> m_stops;
    bool m_isRadial = false;
    double m_fromX = 0.0, m_fromY = 0.0;
    double m_perX = 0.0, m_perY = 0.0; ///< of the offset; of a radial one 1 / radius
};
}
