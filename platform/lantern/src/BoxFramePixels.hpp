#pragma once

#include "BoxEdges.hpp"
#include "LocalPlaces.hpp"
#include "RoundBoxCoverage.hpp"

#include <Lantern/BoxFill.hpp>

#include <QRgb>

#include <array>

namespace Lantern
{
/// A border whose sides differ, inside of a box that may be turned and scaled. Two sides meet on the line from the outer to the
/// inner corner.
class BoxFramePixels final : public PixelSource
{
public:
    /// `toDevice`: invertible. `box`: with corners that fit. `opacity` 0..1.
    BoxFramePixels(const QRect& area, const QTransform& toDevice, const RoundBox& box, const BoxFrame& frame, double opacity);
    [[nodiscard]] PixelSpan span(int y) const override;
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;

private:
    struct Side
    {
        double width;
        QRgb pixel;
    };
    [[nodiscard]] QRgb pixel(double x, double y) const;

    LocalPlaces m_places;
    RoundBoxCoverage m_outer, m_inner;
    BoxEdges m_edges;
    BoxEdges m_clear; ///< around pixels inside of the border
    bool m_hasClear = false;
    double m_left, m_top, m_right, m_bottom;
    std::array<Side, 4> m_sides; ///< top, right, bottom, left
};
}
