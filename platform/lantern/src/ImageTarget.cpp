#include <Lantern/ImageTarget.hpp>

#include "LargeImage.hpp"

#include <Lantern/PainterContext.hpp>

#include <QRegion>

#include <utility>

namespace Lantern
{
ImageTarget::ImageTarget(QSize size, Ground ground) : m_ground(ground)
{
    resize(size);
}

void ImageTarget::resize(QSize size)
{
    m_image = makeLargeImage(size, m_ground == Ground::Black ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    m_isFilled = m_ground == Ground::Transparent;
}

void ImageTarget::paint(const QRegion& damage, const std::function<void(RenderContext&)>& draw)
{
    const QRegion area = damage.intersected(m_image.rect());
    if (area.isEmpty())
        return;
    // All of it is mostly drawn at once, with the ground.
    if (!std::exchange(m_isFilled, true) && area != QRegion(m_image.rect()))
        m_image.fill(Qt::black);
    PainterContext context(m_image, area);
    context.clear(m_ground == Ground::Black ? Qt::black : Qt::transparent);
    draw(context);
}
}
