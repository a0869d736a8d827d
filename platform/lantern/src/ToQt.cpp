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
}
