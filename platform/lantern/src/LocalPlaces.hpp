#pragma once

#include <QTransform>

#include <cmath>

namespace Lantern
{
/// The places of device pixels in the coordinates of what is drawn. Any thread.
class LocalPlaces
{
public:
    LocalPlaces() = default;
    /// `toDevice`: invertible.
    explicit LocalPlaces(const QTransform& toDevice)
        : m_toLocal(toDevice.inverted()), m_pixelsPerUnit(std::sqrt(std::abs(toDevice.determinant())))
    {
    }
    /// The middle of a pixel.
    [[nodiscard]] double x(int column, int row) const
    {
        return m_toLocal.m11() * (column + 0.5) + m_toLocal.m21() * (row + 0.5) + m_toLocal.dx();
    }
    [[nodiscard]] double y(int column, int row) const
    {
        return m_toLocal.m12() * (column + 0.5) + m_toLocal.m22() * (row + 0.5) + m_toLocal.dy();
    }
    [[nodiscard]] const QTransform& toLocal() const noexcept { return m_toLocal; }
    [[nodiscard]] double pixelsPerUnit() const noexcept { return m_pixelsPerUnit; }

private:
    QTransform m_toLocal;
    double m_pixelsPerUnit = 1.0;
};
}
