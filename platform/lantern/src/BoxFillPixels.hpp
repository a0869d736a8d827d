#pragma once

#include "BoxEdges.hpp"
#include "GradientColors.hpp"
#include "LocalPlaces.hpp"
#include "PixelSampling.hpp"
#include "RoundBoxCoverage.hpp"

#include <QImage>

namespace Lantern
{
/// A box with round corners, turned and scaled, with a colour, a gradient or copies of a picture in it.
class BoxFillPixels final : public PixelSource
{
public:
    /// `toDevice`: invertible. `box`: with corners that fit. `opacity` 0..1.
    BoxFillPixels(const QRect& area, const QTransform& toDevice, const RoundBox& box, const BoxFill& fill, double opacity);
    [[nodiscard]] PixelSpan span(int y) const override;
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;

private:
    void drawEdge(QRgb* row, int y, int begin, int end) const;
    /// Pixels that the box covers.
    void drawFull(QRgb* row, int y, int begin, int end) const;
    [[nodiscard]] QRgb pixel(double x, double y) const;
    [[nodiscard]] QRgb picturePixel(double x, double y) const;

    LocalPlaces m_places;
    RoundBoxCoverage m_box;
    BoxEdges m_edges;
    BoxEdges m_inner; ///< of what is certainly covered
    bool m_hasInner = false;
    BoxEdges m_tall; ///< of what is covered from the top to the bottom
    bool m_hasTall = false;
    GradientColors m_gradient;
    QImage m_image;
    SourcePixels m_source;
    unsigned m_opacity;
    QRgb m_color = 0;
    bool m_hasTile = false;
    bool m_isOneGradient = false; ///< one copy of a linear gradient covers the box
    bool m_repeatsX, m_repeatsY;
    double m_tileX, m_tileY, m_tileWidth, m_tileHeight;
};
}
