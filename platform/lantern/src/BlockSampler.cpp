#include "BlockSampler.hpp"

#include <algorithm>
#include <cstring>

namespace Lantern
{
namespace
{
constexpr QSize kWhole{256, 256};
/// Wide rather than high: a line of a block is one run of the sampler.
constexpr QSize kBlock{128, 64};
}

BlockSampler::Copy::Copy(QSize size) : image(size, QImage::Format_ARGB32_Premultiplied), painter(&image)
{
    painter.setRenderHints(kHints);
}

BlockSampler& BlockSampler::instance()
{
    // Never destroyed: its painters would outlive what Qt needs for them.
    static BlockSampler& sampler = *new BlockSampler;
    return sampler;
}

void BlockSampler::draw(PainterContext::Private& context, const QImage& image, const QRectF& target, const QRectF& source)
{
    // Antialiased edges may colour a neighbouring pixel.
    const QRect bounds = context.world.mapRect(target).toAlignedRect().adjusted(-1, -1, 1, 1);
    const auto parts = context.visibleParts(bounds);
    if (parts.isEmpty())
        return;
    if (bounds.width() <= kWhole.width() && bounds.height() <= kWhole.height()) {
        if (!m_whole)
            m_whole = std::make_unique<Copy>(kWhole);
        drawBlock(context, *m_whole, bounds, image, target, source);
        return;
    }
    if (!m_block)
        m_block = std::make_unique<Copy>(kBlock);
    QRectF seen;
    for (const QRectF& part : parts)
        seen |= part;
    const QRect area = seen.toAlignedRect();
    const int firstX = bounds.x() + (area.x() - bounds.x()) / kBlock.width() * kBlock.width();
    const int firstY = bounds.y() + (area.y() - bounds.y()) / kBlock.height() * kBlock.height();
    for (int y = firstY; y <= area.bottom(); y += kBlock.height())
        for (int x = firstX; x <= area.right(); x += kBlock.width()) {
            const QRect block(QPoint(x, y), kBlock);
            if (std::any_of(parts.begin(), parts.end(), [&](const QRectF& part) { return part.intersects(block); }))
                drawBlock(context, *m_block, block, image, target, source);
        }
}

void BlockSampler::drawBlock(PainterContext::Private& context, Copy& copy, const QRect& block, const QImage& image,
                             const QRectF& target, const QRectF& source)
{
    uchar* const bits = copy.image.bits();
    for (int row = 0; row < block.height(); ++row)
        std::memset(bits + std::ptrdiff_t(row) * copy.image.bytesPerLine(), 0, std::size_t(block.width()) * 4);
    copy.painter.setTransform(context.world * QTransform::fromTranslate(-block.x(), -block.y()));
    copy.painter.setOpacity(context.opacity);
    copy.painter.drawImage(target, image, source);
    context.devicePainter(1.0).drawImage(block.topLeft(), copy.image, QRect(QPoint(), block.size()));
}
}
