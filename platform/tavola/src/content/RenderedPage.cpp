#include "content/RenderedPage.hpp"

#include <QDataStream>
#include <QIODevice>

#include <cstring>

namespace Tavola
{
namespace
{
constexpr QDataStream::Version kLayout = QDataStream::Qt_5_12;
constexpr QImage::Format kFormat = QImage::Format_ARGB32_Premultiplied;
}

QByteArray RenderedPage::toBytes() const
{
    const QImage pixels = image.convertToFormat(kFormat);
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(kLayout);
    stream << error << remark << pageSize << qint32(page) << qint32(pageCount) << qint32(pixels.width())
           << qint32(pixels.height());
    // Rows of four bytes a pixel have no padding.
    return bytes.append(reinterpret_cast<const char*>(pixels.constBits()), int(pixels.sizeInBytes()));
}

bool RenderedPage::readBytes(const QByteArray& bytes)
{
    RenderedPage read;
    qint32 width = 0;
    qint32 height = 0;
    QDataStream stream(bytes);
    stream.setVersion(kLayout);
    stream >> read.error >> read.remark >> read.pageSize >> read.page >> read.pageCount >> width >> height;
    if (stream.status() != QDataStream::Ok || width < 0 || height < 0 || width > kMostPixels || height > kMostPixels)
        return false;
    const qint64 head = stream.device()->pos();
    if (bytes.size() - head != qint64(width) * height * 4)
        return false;
    if (width > 0 && height > 0) {
        read.image = QImage(width, height, kFormat);
        if (read.image.isNull())
            return false;
        std::memcpy(read.image.bits(), bytes.constData() + head, std::size_t(bytes.size() - head));
    }
    *this = read;
    return true;
}
}
