#include "GlSurfaces.hpp"

#include "GlKeptTexture.hpp"
#include "PainterState.hpp"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <algorithm>
#include <cassert>

namespace Lantern
{
GlLayer::GlLayer(QSize pixels, GlSurfaces& surfaces) : surface(pixels, surfaces), texture(pixels) {}

GlSurfaces::GlSurfaces()
    : m_number([] {
          static long count = 0;
          return ++count;
      }())
{
}

GlSurfaces::~GlSurfaces()
{
    if (m_blitter.isCreated())
        m_blitter.destroy();
}

GlLayer& GlSurfaces::acquire(QSize pixels, const QRect& area)
{
    if (m_layers.size() == m_inUse)
        m_layers.emplace_back();
    std::unique_ptr<GlLayer>& layer = m_layers[m_inUse++];
    if (!layer || layer->surface.pixels().expandedTo(pixels) != layer->surface.pixels())
        layer = std::make_unique<GlLayer>(layer ? pixels.expandedTo(layer->surface.pixels()) : pixels, *this);
    layer->framesUnused = 0;
    QPainter& painter = layer->painter;
    painter.begin(&layer->surface);
    painter.setRenderHints(kHints);
    painter.setClipRect(area);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(area, Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    return *layer;
}

void GlSurfaces::release()
{
    assert(m_inUse > 0 && "more released than acquired");
    --m_inUse;
    if (m_layers[m_inUse]->painter.isActive())
        m_layers[m_inUse]->painter.end();
}

void GlSurfaces::endFrame()
{
    assert(m_inUse == 0 && "a layer is still in use");
    for (const auto& layer : m_layers)
        ++layer->framesUnused;
    // The outermost is used whenever one inside it is.
    while (!m_layers.empty() && m_layers.back()->framesUnused > kFramesKept)
        m_layers.pop_back();
}

bool GlSurfaces::canMake(QSize pixels)
{
    if (m_largestSide == 0) {
        QOpenGLFunctions& gl = *QOpenGLContext::currentContext()->functions();
        GLint texture = 0, buffer = 0;
        gl.glGetIntegerv(GL_MAX_TEXTURE_SIZE, &texture);
        gl.glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &buffer);
        m_largestSide = std::min(texture, buffer);
    }
    return std::max(pixels.width(), pixels.height()) <= m_largestSide;
}

std::unique_ptr<KeptTexture> GlSurfaces::make(QSize pixels)
{
    return std::make_unique<GlKeptTexture>(pixels, *this, m_number);
}

bool GlSurfaces::made(const KeptTexture& texture) const
{
    return static_cast<const GlKeptTexture&>(texture).maker() == m_number;
}

void GlSurfaces::draw(QPainter& painter, const QOpenGLFramebufferObject& texture, const QRect& source, QPoint corner,
                      qreal opacity)
{
    const QRect viewport(0, 0, painter.device()->width(), painter.device()->height());
    painter.beginNativePainting();
    QOpenGLFunctions& gl = *QOpenGLContext::currentContext()->functions();
    gl.glViewport(0, 0, viewport.width(), viewport.height());
    gl.glEnable(GL_BLEND);
    // The colours of the texture have their alpha in them already, and Qt's program fades the alpha alone.
    gl.glBlendColor(0.f, 0.f, 0.f, float(opacity));
    gl.glBlendFuncSeparate(GL_CONSTANT_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    if (!m_blitter.isCreated())
        m_blitter.create();
    m_blitter.bind();
    m_blitter.setOpacity(float(opacity));
    const QRectF sourceRows(fromBottom(source, texture.height()));
    m_blitter.blit(texture.texture(), QOpenGLTextureBlitter::targetTransform(QRectF(QRect(corner, source.size())), viewport),
                   QOpenGLTextureBlitter::sourceTransform(sourceRows, texture.size(), QOpenGLTextureBlitter::OriginBottomLeft));
    m_blitter.release();
    gl.glDisable(GL_BLEND);
    painter.endNativePainting();
}
}
