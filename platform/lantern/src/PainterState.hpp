#pragma once

#include "Composition.hpp"

#include <Lantern/PainterContext.hpp>

#include <QPainter>
#include <QPainterPath>
#include <QRectF>
#include <QRegion>
#include <QSize>
#include <QTransform>
#include <QVarLengthArray>

#include <memory>
#include <vector>

class QImage;

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
    Private(QPainter& painter, const QRegion& damage);
    Private(QImage& target, const QRegion& damage);

    /// The innermost painter, with transform and opacity as they were pushed.
    QPainter& readyPainter();
    /// As above, but drawing in device pixels, so faint.
    QPainter& devicePainter(qreal opacity);
    /// The area inside which something may be drawn, with `image`: whole device pixels.
    [[nodiscard]] QRect clipRect() const { return clipBounds.toAlignedRect(); }
    [[nodiscard]] QRect deviceRect() const { return QRect(QPoint(), deviceSize); }
    /// What waits in `composition` is drawn.
    void flush();
    [[nodiscard]] QRectF toDevice(const Vecta::Rect& rect, Edges edges = Edges::Sharp) const;
    /// The parts of the damage in which something in `bounds` (device pixels) can show.
    using Parts = QVarLengthArray<QRectF, 16>;
    [[nodiscard]] Parts visibleParts(const QRectF& bounds) const;
    /// Whether there are any.
    [[nodiscard]] bool hasVisibleParts(const QRectF& bounds) const;
    /// Whether anything drawn in `rect` can show. The transform is affine.
    [[nodiscard]] bool isVisible(const Vecta::Rect& rect, Edges edges) const;

    /// Before anything else is drawn.
    void clear(const QColor& color);
    void pushTransform(const QTransform& transform);
    void pushOpacity(qreal factor);
    /// With an empty `rect` nothing shows until `pop`.
    void pushClip(const RoundBox& box);
    void pushLayer(const Vecta::Rect& bounds, qreal factor, Edges edges);
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
        QImage* image;
    };

    QPainter own;     ///< of a picture that came without one; begun when it is first needed
    QImage* unopened; ///< that picture, else null
    QPainter& ground;
    QRegion groundDamage;  ///< in the ground's coordinates
    QTransform fromDevice; ///< to the coordinates that the ground's painter was given with, without its transform
    QPainter* painter;     ///< the innermost layer's
    QTransform world;      ///< to device pixels of `painter`
    QRectF clipBounds;     ///< around what can show, of `painter`
    Parts damage;
    /// The pixels of `painter` where they can be written without it, because its clip is a rectangle; else null. Drawings that
    /// need no painter wait in `composition` until it is used.
    QImage* image = nullptr;
    Composition composition;
    std::vector<QRect> damageRects; ///< the same as `damage` where the ground has an image, else everything
    qreal opacity = 1.0;
    bool isGroundReady = false;  ///< the ground's painter has the clip and the hints
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

    /// Draws what waits, and leaves the ground's painter as it was found.
    void end();

private:
    /// Before the first use of a painter: with kept pictures alone there is none.
    void prepareGround();
    void save(Kind kind, qreal layerOpacity = 1.0);
    void pushEmptyClip();
    /// `rect`: device pixels.
    void pushUprightClip(const QRectF& rect);
    /// What can show of `rect`, as whole device pixels.
    [[nodiscard]] QRect pixelsOf(const Vecta::Rect& rect, Edges edges = Edges::Sharp) const;
    void openLayer(const QRect& pixels);
    void drawLayerBelow(const Saved& state);
    void useOuterPainter();
    /// Ends the layer's painting and puts its samples together.
    static void finishTexture(const OpenLayer& layer, const QRect& area);
};
}
