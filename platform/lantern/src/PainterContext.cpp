#include <Lantern/PainterContext.hpp>

#include "BoxInterior.hpp"
#include "CopiedPixels.hpp"
#include "ExactShapes.hpp"
#include "FramedBox.hpp"
#include "GlKeptTexture.hpp"
#include "GlSurfaces.hpp"
#include "LayerSurfaces.hpp"
#include "PainterState.hpp"
#include "PixelDrawing.hpp"
#include "PixelMath.hpp"
#include "RoundPicturePixels.hpp"
#include "SampledPixels.hpp"
#include "ToQt.hpp"

#include <Lantern/KeptPicture.hpp>
#include <Vecta/Angle.hpp>

#include <QPolygonF>
#include <QTextLayout>

#include <algorithm>
#include <cassert>
#include <cmath>

namespace Lantern
{
namespace
{
using Vecta::kTwoPi;

/// Zero for anything that is no number.
qreal clampedOpacity(float opacity)
{
    return opacity > 0.f ? std::min(qreal(opacity), 1.0) : 0.0;
}

/// Places and scales come as floats.
constexpr qreal kWholePx = 1.0 / 64.0;
constexpr qreal kSameScale = 1e-5;

/// Whether the coordinates are those of the picture's pixels, but for a shift.
bool hasScaleOf(const KeptPicture& picture, const QTransform& world)
{
    const Vecta::Vector2f scale = picture.scale();
    return world.type() <= QTransform::TxScale && std::abs(world.m11() - scale.x) <= kSameScale * scale.x
        && std::abs(world.m22() - scale.y) <= kSameScale * scale.y;
}

unsigned shareOf(qreal opacity)
{
    return unsigned(qRound(opacity * 255.0));
}

/// Without the painter, where its pixels can be computed. False where not, whatever is damaged.
bool drawFramed(PainterContext::Private& context, const Vecta::Rect& rect, float cornerRadius, const Style& style)
{
    if (!context.image || !FramedBox::canDraw(context.world))
        return false;
    const auto pixel = [&](const Bedrock::Color& color) { return scaledPixel(pixelOf(toQt(color)), shareOf(context.opacity)); };
    FramedBox::Shape shape;
    shape.radius = cornerRadius > 0.f ? double(fittingRadius(rect, cornerRadius)) : 0.0;
    if (style.hasFill && style.fill.alpha > 0.f)
        shape.fill = pixel(style.fill);
    if (hasVisibleStroke(style)) {
        shape.stroke = pixel(style.stroke);
        shape.strokeWidth = double(style.strokeWidth);
    }
    context.composition.add(FramedBox(context.clipRect(), context.world, toQt(rect), shape));
    return true;
}

/// The painter's sampler rounds from where a line enters the clip, so that a part of a picture would differ from the whole.
void drawSampled(PainterContext::Private& context, const QImage& image, const QRectF& target, const QRectF& source)
{
    const auto parts = context.visibleParts(context.world.mapRect(target).adjusted(-1, -1, 1, 1));
    if (parts.isEmpty())
        return;
    SampledPixels pixels(context.deviceRect(), wantedPixels(context), image, context.world, target, source,
                         shareOf(context.opacity));
    if (!pixels.canDraw()) {
        context.readyPainter().drawImage(target, image, source);
        return;
    }
    drawPixels(context, std::move(pixels));
}

/// As above, in a box with round corners, without a clip. False where that cannot be, whatever is damaged.
bool drawRoundSampled(PainterContext::Private& context, const QImage& image, const RoundBox& box, const QRectF& source)
{
    if (!context.image || !FramedBox::canDraw(context.world))
        return false;
    SampledPixels pixels(context.deviceRect(), context.clipRect(), image, context.world, toQt(box.rect), source,
                         shareOf(context.opacity));
    if (!pixels.canDraw())
        return false;
    context.composition.add(RoundPicturePixels(std::move(pixels), context.world, box));
    return true;
}
}

PainterContext::PainterContext(QPainter& painter, const QRegion& damage) : d(std::make_unique<Private>(painter, damage)) {}

PainterContext::PainterContext(QImage& image, const QRegion& damage) : d(std::make_unique<Private>(image, damage)) {}

PainterContext::~PainterContext()
{
    assert(d->saved.empty() && "every push is undone by one pop");
    while (!d->saved.empty())
        pop();
    d->end();
}

void PainterContext::clear(const QColor& color)
{
    d->clear(color);
}

void PainterContext::pushTransform(const Vecta::Transform& transform)
{
    d->pushTransform(toQt(transform));
}

void PainterContext::pushOpacity(float opacity)
{
    d->pushOpacity(clampedOpacity(opacity));
}

void PainterContext::pushClip(const Vecta::Rect& rect, const Corners& corners)
{
    d->pushClip({rect, corners});
}

void PainterContext::pushLayer(const Vecta::Rect& bounds, float opacity, Edges edges)
{
    d->pushLayer(bounds, clampedOpacity(opacity), edges);
}

void PainterContext::pop()
{
    d->pop();
}

bool PainterContext::isVisible(const Vecta::Rect& rect, Edges edges) const
{
    return d->opacity > 0.0 && d->isVisible(rect, edges);
}

void PainterContext::drawRect(const Vecta::Rect& rect, float cornerRadius, const Style& style)
{
    if (rect.isEmpty() || !isFinite(rect))
        return;
    const bool isPlain = !hasVisibleStroke(style) && !(cornerRadius > 0.f);
    if (!isPlain && drawFramed(*d, rect, cornerRadius, style))
        return;
    if (!(isPlain && d->image) && fillBoxInterior(*d, rect, cornerRadius, style))
        return;
    if (isPlain) {
        if (style.hasFill)
            fillExactRect(*d, toQt(rect), toQt(style.fill));
        return;
    }
    QPainterPath outline;
    if (cornerRadius > 0.f)
        outline = roundedRect(rect, cornerRadius);
    else
        outline.addRect(toQt(rect));
    drawExactPath(*d, outline, penOf(style), brushOf(style));
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
        const QTransform& world = d->world;
        const double scale = std::max(std::hypot(world.m11(), world.m12()), std::hypot(world.m21(), world.m22()));
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
    QPainterPath path;
    path.addPolygon(QPolygonF(QVector<QPointF>(points.begin(), points.end())));
    if (isWhole) {
        path.closeSubpath();
        drawExactPath(*d, path, pen, brushOf(style));
        return;
    }
    if (style.hasFill)
        drawExactPath(*d, path, Qt::NoPen, brushOf(style));
    if (hasVisibleStroke(style))
        drawExactPath(*d, path, pen, Qt::NoBrush);
}

void PainterContext::drawImage(const QImage& image, const Vecta::Rect& target, const Vecta::Rect& source, const Corners& corners)
{
    if (image.isNull() || target.isEmpty() || !isFinite(target) || !isFinite(source))
        return;
    const QRectF part = source.isEmpty() ? QRectF(image.rect()) : toQt(source);
    const RoundBox box{target, corners};
    const bool isRound = box.largestRadius() > 0.f;
    // One pixel for one pixel there is nothing to sample. Other paint engines sample by themselves.
    const bool isPlain = d->world.type() <= QTransform::TxTranslate && part.size() == toQt(target).size();
    if (isRound && !isPlain && drawRoundSampled(*d, image, box.fitted(), part))
        return;
    if (isRound)
        pushClip(target, corners);
    if (isPlain || !d->isRaster)
        d->readyPainter().drawImage(toQt(target), image, part);
    else
        drawSampled(*d, image, toQt(target), part);
    if (isRound)
        pop();
}

void PainterContext::drawKept(KeptPicture& picture, Vecta::Vector2f place, float opacity,
                              const std::function<void(RenderContext&)>& paint)
{
    const QPointF device = d->world.map(QPointF(place.x, place.y));
    const QPoint origin = device.toPoint();
    const bool isOnPixels = hasScaleOf(picture, d->world) && std::abs(device.x() - origin.x()) <= kWholePx
        && std::abs(device.y() - origin.y()) <= kWholePx;
    if (!(d->isRaster || d->glSurfaces) || !isOnPixels) {
        RenderContext::drawKept(picture, place, opacity, paint);
        return;
    }
    const QRect bounds = picture.bounds().translated(origin);
    if (!d->hasVisibleParts(QRectF(bounds)))
        return;
    if (d->glSurfaces) {
        const auto* kept = static_cast<const GlKeptTexture*>(picture.texture(*d->glSurfaces, paint));
        if (!kept) {
            RenderContext::drawKept(picture, place, opacity, paint);
            return;
        }
        QPainter& painter = d->devicePainter(1.0);
        for (const QRectF& part : d->visibleParts(QRectF(bounds))) {
            const QRect rect = part.toAlignedRect();
            d->glSurfaces->draw(painter, kept->texture(), rect.translated(-bounds.topLeft()), rect.topLeft(),
                                d->opacity * clampedOpacity(opacity));
        }
        return;
    }
    QImage passing;
    const QImage* pixels = picture.pixels(paint);
    if (!pixels) {
        QRegion area;
        for (const QRectF& part : d->visibleParts(QRectF(bounds)))
            area += part.toAlignedRect().translated(-origin);
        passing = QImage(bounds.size(), QImage::Format_ARGB32_Premultiplied);
        picture.paintInto(passing, picture.bounds().topLeft(), area, paint);
        pixels = &passing;
    }
    if (d->image) {
        d->composition.add(CopiedPixels(d->clipRect(), *pixels, pixels == &passing ? nullptr : picture.rows(), bounds.topLeft(),
                                        shareOf(d->opacity * clampedOpacity(opacity))));
        return;
    }
    QPainter& painter = d->devicePainter(d->opacity * clampedOpacity(opacity));
    for (const QRectF& part : d->visibleParts(QRectF(bounds))) {
        const QRect rect = part.toAlignedRect();
        painter.drawImage(rect.topLeft(), *pixels, rect.translated(-bounds.topLeft()));
    }
}

void PainterContext::drawText(const QTextLayout& layout, Vecta::Vector2f origin, const Bedrock::Color& color)
{
    if (!std::isfinite(origin.x) || !std::isfinite(origin.y))
        return;
    QPainter& painter = d->readyPainter();
    painter.setPen(toQt(color));
    layout.draw(&painter, QPointF(origin.x, origin.y));
}
}
