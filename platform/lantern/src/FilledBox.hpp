#pragma once

#include "BoxEdges.hpp"

#include <QRgb>

class QTransform;

namespace Lantern
{
/// A box of one colour that may be turned, with antialiased edges.
class FilledBox final : public PixelSource
{
public:
    /// `toDevice`: invertible, from the coordinates of `box`. `pixel`: premultiplied.
    FilledBox(const QRect& area, const QTransform& toDevice, const QRectF& box, QRgb pixel);
    [[nodiscard]] PixelSpan span(int y) const override { return m_edges.span(m_area, y); }
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;

private:
    BoxEdges m_edges;
    QRgb m_pixel;
};
}
