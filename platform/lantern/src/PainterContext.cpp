#include <Lantern/PainterContext.hpp>

#include <Lantern/Style.hpp>
#include <Vecta/Angle.hpp>

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRegion>
#include <QTextLayout>
#include <QVarLengthArray>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <vector>

namespace Lantern
{
namespace
{
using Vecta::kTwoPi;
constexpr QPainter::RenderHints kHints = QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform;

bool isFinite(const Vecta::Rect& r)
{
    return std::isfinite(r.x) && std::isfinite(r.y) && std::isfinite(r.width) && std::isfinite(r.height);
}

QRectF toQt(const Vecta::Rect& r)
{
    return {r.x, r.y, r.width, r.height};
}

QTransform toQt(const Vecta::Transform& t)
{
    return {t.m11, t.m21, t.m12, t.m22, t.dx, t.dy};
}

/// Zero for anything that is no number.
qreal clampedOpacity(float opacity)
{
    return opacity > 0.f ? std::min(qreal(opacity), 1.0) : 0.0;
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

QPainterPath roundedRect(const Vecta::Rect& rect, float radius)
{
    QPainterPath path;
    const float fitting = std::min({radius, rect.width / 2, rect.height / 2});
    path.addRoundedRect(toQt(rect), fitting, fitting);
    return path;
}

/// What a layer is drawn into before it is faded as a whole; kept for the next layer at the same depth.
struct LayerSurface
{
    QImage image;
    QPainter painter;
    QPoint origin; ///< of the image, in device pixels of the painter below
};
}

struct PainterContext::Private
{
    enum class Kind { Transform, Opacity, Clip, Layer };
    /// What a push replaced.
    struct Saved
    {
        Kind kind;
        QTransform world;
        QRectF clipBounds;
        qreal opacity;
        qreal layerOpacity;
    };

    QPainter* painter; ///< the innermost layer's
    QTransform world;
    QRectF clipBounds; ///< around what can show, in device pixels of `painter`
    qreal opacity = 1.0;
    std::vector<Saved> saved;
    std::vector<std::unique_ptr<LayerSurface>> surfaces;
    std::size_t openLayers = 0;
    QPainter& ground;

    explicit Private(QPainter& p) : painter(&p), ground(p) {}

    void save(Kind kind, qreal layerOpacity = 1.0) { saved.push_back({kind, world, clipBounds, opacity, layerOpacity}); }
    [[nodiscard]] qreal pixelRatio() const { return painter->device()->devicePixelRatioF(); }
    /// Device pixels of the present painter.
    [[nodiscard]] QRectF deviceBounds(const QRectF& rect) const { return painter->deviceTransform().mapRect(rect); }
    void drawLayerBelow(const Saved& state);
};

PainterContext::PainterContext(QPainter& painter, const QRegion& damage) : d(std::make_unique<Private>(painter))
{
    painter.save();
    painter.setRenderHints(kHints);
    d->world = painter.transform();
    d->opacity = painter.opacity();
    painter.setClipRegion(damage, painter.hasClipping() ? Qt::IntersectClip : Qt::ReplaceClip);
    d->clipBounds = d->deviceBounds(damage.boundingRect());
    d->saved.reserve(64);
}

PainterContext::~PainterContext()
{
    assert(d->saved.empty() && "every push is undone by one pop");
    while (!d->saved.empty())
        pop();
    d->ground.restore();
}

void PainterContext::pushTransform(const Vecta::Transform& transform)
{
    d->save(Private::Kind::Transform);
    d->world = toQt(transform) * d->world;
    d->painter->setTransform(d->world);
}

void PainterContext::pushOpacity(float opacity)
{
    d->save(Private::Kind::Opacity);
    d->opacity *= clampedOpacity(opacity);
    d->painter->setOpacity(d->opacity);
}

void PainterContext::pushClip(const Vecta::Rect& rect, float cornerRadius)
{
    d->save(Private::Kind::Clip);
    d->painter->save();
    if (rect.isEmpty() || !isFinite(rect)) {
        d->painter->setClipRect(QRectF(), Qt::IntersectClip);
        d->clipBounds = {};
        return;
    }
    if (cornerRadius > 0.f)
        d->painter->setClipPath(roundedRect(rect, cornerRadius), Qt::IntersectClip);
    else
        d->painter->setClipRect(toQt(rect), Qt::IntersectClip);
    d->clipBounds = d->clipBounds.intersected(d->deviceBounds(toQt(rect)));
}

void PainterContext::pushLayer(const Vecta::Rect& bounds, float opacity)
{
    const QRectF wanted = isFinite(bounds) ? d->deviceBounds(toQt(bounds)).intersected(d->clipBounds) : QRectF();
    const QRect pixels = wanted.isEmpty() ? QRect() : wanted.toAlignedRect();
    if (pixels.isEmpty()) {
        pushClip({});
        return;
    }
    d->save(Private::Kind::Layer, clampedOpacity(opacity) * d->opacity);
    if (d->surfaces.size() == d->openLayers)
        d->surfaces.push_back(std::make_unique<LayerSurface>());
    LayerSurface& surface = *d->surfaces[d->openLayers++];
    if (surface.image.size() != pixels.size())
        surface.image = QImage(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    surface.image.fill(Qt::transparent);
    surface.origin = pixels.topLeft();
    d->world = d->painter->deviceTransform() * QTransform::fromTranslate(-pixels.x(), -pixels.y());
    d->clipBounds = wanted.translated(-pixels.topLeft());
    d->opacity = 1.0;

    surface.painter.begin(&surface.image);
    surface.painter.setRenderHints(kHints);
    surface.painter.setTransform(d->world);
    d->painter = &surface.painter;
}

void PainterContext::Private::drawLayerBelow(const Saved& state)
{
    LayerSurface& surface = *surfaces[--openLayers];
    surface.painter.end();
    painter = openLayers > 0 ? &surfaces[openLayers - 1]->painter : &ground;
    painter->resetTransform();
    painter->setOpacity(state.layerOpacity);
    const qreal ratio = pixelRatio();
    painter->drawImage(QRectF(QPointF(surface.origin) / ratio, QSizeF(surface.image.size()) / ratio), surface.image);
}

void PainterContext::pop()
{
    assert(!d->saved.empty() && "pop without a push");
    const Private::Saved state = d->saved.back();
    d->saved.pop_back();
    if (state.kind == Private::Kind::Layer)
        d->drawLayerBelow(state);
    else if (state.kind == Private::Kind::Clip)
        d->painter->restore();
    d->world = state.world;
    d->clipBounds = state.clipBounds;
    d->opacity = state.opacity;
    d->painter->setTransform(d->world);
    d->painter->setOpacity(d->opacity);
}

bool PainterContext::isVisible(const Vecta::Rect& rect) const
{
    return d->opacity > 0.0 && isFinite(rect) && d->deviceBounds(toQt(rect)).intersects(d->clipBounds);
}

void PainterContext::drawRect(const Vecta::Rect& rect, float cornerRadius, const Style& style)
{
    if (rect.isEmpty() || !isFinite(rect))
        return;
    if (!hasVisibleStroke(style) && !(cornerRadius > 0.f)) {
        if (style.hasFill)
            d->painter->fillRect(toQt(rect), toQt(style.fill));
        return;
    }
    d->painter->setPen(penOf(style));
    d->painter->setBrush(brushOf(style));
    if (cornerRadius > 0.f)
        d->painter->drawPath(roundedRect(rect, cornerRadius));
    else
        d->painter->drawRect(toQt(rect));
}

void PainterContext::drawArc(Vecta::Vector2f centre, float radius, float fromRadians, float toRadians, const Style& style,
                             int segments)
{
    const double wantedSweep = double(toRadians) - double(fromRadians);
    if (!(radius > 0.f) || !std::isfinite(radius) || !std::isfinite(wantedSweep) || !std::isfinite(centre.x)
        || !std::isfinite(centre.y) || wantedSweep == 0.0)
        return;
    const double sweep = std::clamp(wantedSweep, -kTwoPi, kTwoPi);
    // Large angles lose their fraction; what is left of it is still a direction.
    const double from = std::fmod(double(fromRadians), kTwoPi);
    const bool isWhole = std::abs(sweep) >= kTwoPi - 1e-6;

    int count = segments;
    if (count <= 0) {
        // So many that no chord leaves the circle by more than a tenth of a pixel on the screen.
        const QTransform device = d->painter->deviceTransform();
        const double scale = std::max(std::hypot(device.m11(), device.m12()), std::hypot(device.m21(), device.m22()));
        const double radiusPx = std::max(1.0, radius * scale);
        const double step = 2.0 * std::acos(1.0 - std::min(0.5, 0.1 / radiusPx));
        count = int(std::min(1000.0, std::ceil(std::abs(sweep) / step)));
    }
    count = std::clamp(count, isWhole ? 3 : 1, 1000);

    QVarLengthArray<QPointF, 256> points(isWhole ? count : count + 1);
    for (int i = 0; i < points.size(); ++i) {
        const double angle = from + sweep * i / count;
        points[i] = QPointF(centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle));
    }
    QPen pen = penOf(style);
    pen.setJoinStyle(segments > 0 ? Qt::MiterJoin : Qt::RoundJoin);
    if (isWhole) {
        d->painter->setPen(pen);
        d->painter->setBrush(brushOf(style));
        d->painter->drawPolygon(points.constData(), points.size());
        return;
    }
    if (style.hasFill) {
        d->painter->setPen(Qt::NoPen);
        d->painter->setBrush(brushOf(style));
        d->painter->drawPolygon(points.constData(), points.size());
    }
    if (hasVisibleStroke(style)) {
        d->painter->setPen(pen);
        d->painter->drawPolyline(points.constData(), points.size());
    }
}

void PainterContext::drawImage(const QImage& image, const Vecta::Rect& target, const Vecta::Rect& source, float cornerRadius)
{
    if (image.isNull() || target.isEmpty() || !isFinite(target) || !isFinite(source))
        return;
    const QRectF part = source.isEmpty() ? QRectF(image.rect()) : toQt(source);
    if (!(cornerRadius > 0.f)) {
        d->painter->drawImage(toQt(target), image, part);
        return;
    }
    pushClip(target, cornerRadius);
    d->painter->drawImage(toQt(target), image, part);
    pop();
}

void PainterContext::drawText(const QTextLayout& layout, Vecta::Vector2f origin, const Bedrock::Color& color)
{
    if (!std::isfinite(origin.x) || !std::isfinite(origin.y))
        return;
    d->painter->setPen(toQt(color));
    layout.draw(d->painter, QPointF(origin.x, origin.y));
}
}
