#pragma once

#include "PixelSource.hpp"
#include "RoundBoxSpans.hpp"

#include <QRectF>
#include <QRgb>
#include <QTransform>

namespace Lantern
{
/// A box with round corners, filled and with a border that is centred on its outline, as wide all around. It may be moved,
/// turned and scaled. The share of each pixel follows from the distance of its centre to the outline.
class FramedBox final : public PixelSource
{
public:
    struct Shape
    {
        double radius = 0.0;      ///< fits into the box
        double strokeWidth = 0.0; ///< 0: no border
        QRgb fill = 0;            ///< premultiplied, as is the next; 0: none
        QRgb stroke = 0;
    };

    /// Nothing for transforms that shear the box, or scale it much more in one direction.
    [[nodiscard]] static bool canDraw(const QTransform& toDevice);
    FramedBox(const QRect& area, const QTransform& toDevice, const QRectF& box, const Shape& shape);

    [[nodiscard]] PixelSpan span(int y) const override;
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;

private:
    void drawEdge(QRgb* row, int y, int begin, int end) const;

    Shape m_shape;
    RoundBoxSpans m_spans;                       ///< full inside of the border
    QTransform m_toBox;                          ///< from device pixels, around the box's middle
    double m_scale = 1.0;                        ///< device pixels for one of the box's
    double m_straightX = 0.0, m_straightY = 0.0; ///< from the middle to where corners begin
};
}
