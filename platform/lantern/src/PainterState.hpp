#pragma once

#include <Lantern/PainterContext.hpp>

#include <QPainter>
#include <QPainterPath>
#include <QRectF>
#include <QSize>
#include <QTransform>
#include <QVarLengthArray>

#include <memory>
#include <vector>

class QRegion;

namespace Lantern
{
inline constexpr QPainter::RenderHints kHints =
    QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform;

class GlSurfaces;
struct GlLayer;
struct LayerSurface;

/// What was pushed on a PainterContext. Transform and opacity reach the QPainter only when something is drawn: most of what
/// is pushed turns out to lie outside of the damage. All areas are device pixels.
struct PainterContext::Private
{
    Private(QPainter& ground, const QRegion& damage);

    /// The innermost painter, with transform and opacity as they were pushed.
    QPainter& readyPainter();
    /// As above, but drawing in device pixels, so faint.
    QPainter& devicePainter(qreal opacity);
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
        qreal opacity;
        qreal layerOpacity;
    };

    QPainter& ground;
    QTransform fromDevice; ///< to the coordinates that the ground's painter was given with, without its transform
    QPainter* painter;     ///< the innermost layer's
    QTransform world;      ///< to device pixels of `painter`
    QRectF clipBounds;     ///< around what can show, of `painter`
    Parts damage;
    qreal opacity = 1.0;
    bool isPainterStale = false; ///< the painter has another transform or opacity
    std::vector<Saved> saved;
    /// A layer that is painted: in memory, or on the graphics card.
    struct OpenLayer
    {
        LayerSurface* image;
        GlLayer* texture;
        QPainterPath hidden; ///< of the texture: what a clip cuts away when it is drawn below
    };

    bool isRaster = true;              ///< whether the ground's pixels are drawn by the processor
    GlSurfaces* glSurfaces = nullptr;  ///< of a ground on a graphics card
    QSize deviceSize;                  ///< of the ground
    std::vector<OpenLayer> openLayers; ///< from the outermost to the innermost

private:
    void save(Kind kind, qreal layerOpacity = 1.0);
    void pushEmptyClip();
    /// What can show of `rect`, as whole device pixels.
    [[nodiscard]] QRect pixelsOf(const Vecta::Rect& rect) const;
    void openLayer(const QRect& pixels);
    void drawLayerBelow(const Saved& state);
    void useOuterPainter();
    /// Ends the layer's painting and puts its samples together.
    static void finishTexture(const OpenLayer& layer, const QRect& area);
};
}
