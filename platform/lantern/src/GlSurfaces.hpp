#pragma once

#include "GlSurface.hpp"
#include "KeptTexture.hpp"

#include <QOpenGLTextureBlitter>
#include <QPainter>

#include <memory>
#include <vector>

namespace Lantern
{
/// A layer on the graphics card: what is painted, and the texture that it is put together into.
struct GlLayer
{
    GlLayer(QSize pixels, GlSurfaces& surfaces);

    GlSurface surface;
    QOpenGLFramebufferObject texture;
    QPainter painter;
    int framesUnused = 0;
};

/// The surfaces of layers inside layers, kept from frame to frame, and the drawing of textures. One for a window; its context
/// must be current, also when it is destroyed.
class GlSurfaces final : public KeptTextureMaker
{
public:
    GlSurfaces();
    GlSurfaces(const GlSurfaces&) = delete;
    GlSurfaces& operator=(const GlSurfaces&) = delete;
    ~GlSurfaces() override;

    /// A layer of at least that size, transparent inside `area`, whose painter paints in `area` only. Valid until `release`.
    [[nodiscard]] GlLayer& acquire(QSize pixels, const QRect& area);
    /// The one that was acquired last.
    void release();

    /// Frees the layers that were not acquired in the last kFramesKept frames. To be called once a painted frame, while none is
    /// acquired.
    void endFrame();
    [[nodiscard]] std::size_t layers() const noexcept { return m_layers.size(); }
    static constexpr int kFramesKept = 60;

    /// Draws the part `source` of a texture, pixel by pixel, at `corner` of the painter's surface and so faint. Clips of
    /// `painter` do not count.
    void draw(QPainter& painter, const QOpenGLFramebufferObject& texture, const QRect& source, QPoint corner, qreal opacity);

    [[nodiscard]] bool canMake(QSize pixels) override;
    [[nodiscard]] std::unique_ptr<KeptTexture> make(QSize pixels) override;
    [[nodiscard]] bool made(const KeptTexture& texture) const override;

private:
    const long m_number; ///< no other ever has the same
    std::vector<std::unique_ptr<GlLayer>> m_layers;
    std::size_t m_inUse = 0;
    int m_largestSide = 0; ///< of textures and of what is painted on; 0 until it is known
    QOpenGLTextureBlitter m_blitter;
};
}
