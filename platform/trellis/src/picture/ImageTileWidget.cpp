#include <Trellis/ImageTileWidget.hpp>

#include "picture/ImagePrivate.hpp"
#include "tree/WidgetRecords.hpp"

#include <Lantern/RenderContext.hpp>

#include <algorithm>

#include <QPainter>

namespace Trellis
{
namespace
{
constexpr int kLeastTilePx = 64;

/// The picture as often beside and below itself as it takes to be at least so large.
QImage repeated(const QImage& image, int leastPx)
{
    const int columns = (leastPx + image.width() - 1) / image.width();
    const int rows = (leastPx + image.height() - 1) / image.height();
    if (columns <= 1 && rows <= 1)
        return image;
    QImage result(image.width() * std::max(1, columns), image.height() * std::max(1, rows), image.format());
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    for (int row = 0; row < std::max(1, rows); ++row)
        for (int column = 0; column < std::max(1, columns); ++column)
            painter.drawImage(column * image.width(), row * image.height(), image);
    return result;
}
}

ImageTileWidget::ImageTileWidget(Widget* parent) : ImageWidget(parent)
{
    d->isTiled = true;
    setCSSType(QByteArrayLiteral("ImageTileWidget"));
}

void ImageTileWidget::renderContent(Lantern::RenderContext& context) const
{
    Widget::renderContent(context);
    const Vecta::Rect box = contentBox();
    if (d->image.isNull() || box.isEmpty())
        return;
    // A ground of single pixels would take millions of drawings.
    if (d->pattern.isNull())
        d->pattern = repeated(d->image, kLeastTilePx);
    // The size of the file counts, not that of the picture as it was read.
    const float scaleX = float(d->image.width()) / float(d->fullSize.width());
    const float scaleY = float(d->image.height()) / float(d->fullSize.height());
    const float tileWidth = float(d->pattern.width()) / scaleX;
    const float tileHeight = float(d->pattern.height()) / scaleY;
    context.pushClip(box, cornerRadii());
    for (float y = box.y; y < box.bottom(); y += tileHeight)
        for (float x = box.x; x < box.right(); x += tileWidth) {
            const float width = std::min(tileWidth, box.right() - x);
            const float height = std::min(tileHeight, box.bottom() - y);
            const Vecta::Rect tile{x, y, width, height};
            if (context.isVisible(tile))
                context.drawImage(d->pattern, tile, {0.f, 0.f, width * scaleX, height * scaleY});
        }
    context.pop();
}
}
