#pragma once

#include "KeptTexture.hpp"

#include <QOpenGLFramebufferObject>

namespace Lantern
{
class GlSurfaces;

/// Painted on a surface of `surfaces`, and put together into a texture of its own. The context must be current but when it is
/// destroyed: Qt frees the texture when a context that shares it is.
class GlKeptTexture final : public KeptTexture
{
public:
    /// `surfaces` must outlive the texture's last `paint`.
    GlKeptTexture(QSize pixels, GlSurfaces& surfaces, long maker) : m_texture(pixels), m_surfaces(surfaces), m_maker(maker) {}

    void paint(QPoint corner, const QRegion& area, const std::function<void(RenderContext&)>& paint) override;
    [[nodiscard]] const QOpenGLFramebufferObject& texture() const noexcept { return m_texture; }
    /// The number of the surfaces, which may be gone.
    [[nodiscard]] long maker() const noexcept { return m_maker; }

private:
    QOpenGLFramebufferObject m_texture;
    GlSurfaces& m_surfaces;
    long m_maker;
};
}
