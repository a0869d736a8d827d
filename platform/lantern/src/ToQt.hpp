#pragma once

#include <Lantern/RoundBox.hpp>
#include <Lantern/Style.hpp>
#include <Vecta/Rect.hpp>
#include <Vecta/Transform.hpp>

#include <QBrush>
#include <QColor>
#include <QPainterPath>
#include <QPen>
#include <QRectF>
#include <QTransform>

// The toolkit's values as Qt writes them.

namespace Lantern
{
[[nodiscard]] bool isFinite(const Vecta::Rect& r);
[[nodiscard]] inline QRectF toQt(const Vecta::Rect& r)
{
    return {r.x, r.y, r.width, r.height};
}
[[nodiscard]] inline QTransform toQt(const Vecta::Transform& t)
{
    return {t.m11, t.m21, t.m12, t.m22, t.dx, t.dy};
}
/// Straight, not premultiplied.
[[nodiscard]] QColor toQt(const Bedrock::Color& premultiplied);
/// Premultiplied, rounded as a painter rounds it.
[[nodiscard]] QRgb pixelOf(const QColor& color);
[[nodiscard]] bool hasVisibleStroke(const Style& style);
[[nodiscard]] QPen penOf(const Style& style);
[[nodiscard]] QBrush brushOf(const Style& style);
/// A radius is made to fit.
[[nodiscard]] float fittingRadius(const Vecta::Rect& rect, float radius);
[[nodiscard]] QPainterPath roundedRect(const Vecta::Rect& rect, float radius);
/// The outline of a box, its radii made to fit.
[[nodiscard]] QPainterPath outlineOf(const RoundBox& box);
}
