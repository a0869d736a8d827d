#include "ToQt.hpp"

#include <algorithm>
#include <cmath>

namespace Lantern
{
bool isFinite(const Vecta::Rect& r)
{
    return std::isfinite(r.x) && std::isfinite(r.y) && std::isfinite(r.width) && std::isfinite(r.height);
}

QColor toQt(const Bedrock::Color& premultiplied)
{
    const float alpha = premultiplied.alpha;
    if (!(alpha > 0.f))
        return Qt::transparent;
    const auto straight = [alpha](float component) { return qreal(std::clamp(component / alpha, 0.f, 1.f)); };
    return QColor::fromRgbF(straight(premultiplied.red), straight(premultiplied.green), straight(premultiplied.blue),
                            std::min(qreal(alpha), 1.0));
}

QRgb pixelOf(const QColor& color)
{
    return color.rgba64().premultiplied().toArgb32();
}

bool hasVisibleStroke(const Style& style)
{
    return style.hasStroke && style.strokeWidth > 0.f && std::isfinite(style.strokeWidth) && style.stroke.alpha > 0.f;
}

QPen penOf(const Style& style)
{
    if (!hasVisibleStroke(style))
        return QPen(Qt::NoPen);
    return QPen(toQt(style.stroke), style.strokeWidth, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
}

QBrush brushOf(const Style& style)
{
    return style.hasFill && style.fill.alpha > 0.f ? QBrush(toQt(style.fill)) : QBrush(Qt::NoBrush);
}

float fittingRadius(const Vecta::Rect& rect, float radius)
{
    return std::min({radius, rect.width / 2, rect.height / 2});
}

QPainterPath roundedRect(const Vecta::Rect& rect, float radius)
{
    QPainterPath path;
    const float fitting = fittingRadius(rect, radius);
    path.addRoundedRect(toQt(rect), fitting, fitting);
    return path;
}

QPainterPath outlineOf(const RoundBox& box)
{
    const RoundBox fitted = box.fitted();
    const Corners& c = fitted.corners;
    const QRectF r = toQt(fitted.rect);
    QPainterPath path;
    if (c == Corners::all(c.topLeft.x)) {
        if (fitted.isSharp())
            path.addRect(r);
        else
            path.addRoundedRect(r, c.topLeft.x, c.topLeft.x);
        return path;
    }
    // From the end of the top side clockwise. A sharp corner is an arc without extent.
    const auto corner = [&path](qreal x, qreal y, Vecta::Vector2f radius, qreal fromDegrees) {
        path.arcTo(QRectF(x, y, 2.0 * qreal(radius.x), 2.0 * qreal(radius.y)), fromDegrees, -90.0);
    };
    path.moveTo(r.left() + qreal(c.topLeft.x), r.top());
    path.lineTo(r.right() - qreal(c.topRight.x), r.top());
    corner(r.right() - 2.0 * qreal(c.topRight.x), r.top(), c.topRight, 90.0);
    path.lineTo(r.right(), r.bottom() - qreal(c.bottomRight.y));
    corner(r.right() - 2.0 * qreal(c.bottomRight.x), r.bottom() - 2.0 * qreal(c.bottomRight.y), c.bottomRight, 0.0);
    path.lineTo(r.left() + qreal(c.bottomLeft.x), r.bottom());
    corner(r.left(), r.bottom() - 2.0 * qreal(c.bottomLeft.y), c.bottomLeft, 270.0);
    path.lineTo(r.left(), r.top() + qreal(c.topLeft.y));
    corner(r.left(), r.top(), c.topLeft, 180.0);
    path.closeSubpath();
    return path;
}
}
