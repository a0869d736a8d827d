#pragma once

#include <Lantern/PainterContext.hpp>

#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QTransform>
#include <QVarLengthArray>

#include <memory>
#include <vector>

class QRegion;

namespace Lantern
{
/// What a layer is drawn into before it is faded as a whole; kept for the next layer at the same depth.
struct LayerSurface
{
    QImage image;
    QPainter painter;
    QPoint origin; ///< of the image, in device pixels of the painter below
};

/// What was pushed on a PainterContext. Transform and opacity reach the QPainter only when something is drawn: most of what
/// is pushed turns out to lie outside of the damage. All areas are device pixels.
struct PainterContext::Private
{
    Private(QPainter& ground, const QRegion& damage);

    /// The innermost painter, with transform and opacity as they were pushed.
    QPainter& readyPainter();
    /// As above, but drawing in device pixels.
    QPainter& devicePainter();
    [[nodiscard]] QRectF toDevice(const Vecta::Rect& rect) const;
    /// The parts of the damage in which something in `bounds` (device pixels) can show.
    using Parts = QVarLengthArray<QRectF, 16>;
    [[nodiscard]] Parts visibleParts(const QRectF& bounds) const;
    [[nodiscard]] bool isVisible(const QRectF& bounds) const;

    void pushTransform(const QTransform& transform);
    void pushOpacity(qreal factor);
    /// With an empty `rect` nothing shows until `pop`.
    void pushClip(const Vecta::Rect& rect, float cornerRadius);
    void pushLayer(const Vecta::Rect& bounds, qreal factor);
    void pop();

    enum class Kind { Transform, Opacity, Clip, Layer };
    /// What a push replaced.
    struct Saved
    {
        Kind kind;
        QTransform world;
        QRectF clipBounds;
        QPointF origin;
        qreal opacity;
        qreal layerOpacity;
    };

    QPainter& ground;
    QTransform fromDevice; ///< to the coordinates that the ground's painter was given with, without its transform
    QPainter* painter;     ///< the innermost layer's
    QTransform world;      ///< to device pixels of `painter`
    QRectF clipBounds;     ///< around what can show, of `painter`
    QPointF origin;        ///< of `painter`'s pixels in those of the ground
    Parts damage;          ///< of the ground
    qreal opacity = 1.0;
    bool isPainterStale = false; ///< the painter has another transform or opacity
    std::vector<Saved> saved;
    std::vector<std::unique_ptr<LayerSurface>> surfaces;
    std::size_t openLayers = 0;

private:
    void save(Kind kind, qreal layerOpacity = 1.0);
    void drawLayerBelow(const Saved& state);
};
}
