#pragma once

#include "PainterState.hpp"

class QPainterPath;
class QPen;
class QPolygonF;

namespace Lantern
{
// Shapes whose pixels do not depend on the clip. The painter's quick ways for rectangles, and for lines of a pixel or less,
// cut a line off at the clip and round it anew; outlines that are filled are computed whole.

void fillExactRect(PainterContext::Private& context, const QRectF& rect, const QColor& color);
/// Fills with the painter's brush, and draws the outline with `pen`.
void drawExactPath(PainterContext::Private& context, const QPainterPath& path, const QPen& pen, const QBrush& brush);
}
