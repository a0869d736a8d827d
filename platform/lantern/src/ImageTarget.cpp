#include <Lantern/ImageTarget.hpp>

#include <Lantern/PainterContext.hpp>

#include <QRegion>

namespace Lantern
{
ImageTarget::ImageTarget(QSize size, Ground ground) : m_ground(ground)
{
    resize(size);
}

void ImageTarget::resize(QSize size)
{
    m_image = QImage(size, m_ground == Ground::Black ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    m_image.fill(m_ground == Ground::Black ? Qt::black : Qt::transparent);
}

void ImageTarget::paint(const QRegion& damage, const std::function<void(RenderContext&)>& draw)
{
    const QRegion area = damage.intersected(m_image.rect());
    if (area.isEmpty())
        return;
    PainterContext context(m_image, area);
    context.clear(m_ground == Ground::Black ? Qt::black : Qt::transparent);
    draw(context);
}
}
