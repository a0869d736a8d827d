#include "Thumbnails.hpp"

#include "ContentHashes.hpp"

#include <Bedrock/PictureCost.hpp>

#include <QBuffer>
#include <QFile>
#include <QImageReader>

#include <unistd.h>

namespace MediaServer
{

QByteArray Thumbnails::of(const Http::File& file)
{
    const QByteArray identity = identityOf(file);
    const auto known = m_kept.find(identity);
    if (known != m_kept.end()) {
        m_order.splice(m_order.begin(), m_order, known->second.turn);
        return known->second.picture;
    }
    const QByteArray picture = make(file);
    // The file may have to be sent after all, from its beginning.
    ::lseek(file.descriptor(), 0, SEEK_SET);
    m_order.push_front(identity);
    m_kept[identity] = {picture, m_order.begin()};
    // The entry itself takes memory, too.
    m_bytes += picture.size() + identity.size();
    while (m_bytes > m_keptBytes && m_order.size() > 1) {
        const auto oldest = m_kept.find(m_order.back());
        m_bytes -= oldest->second.picture.size() + oldest->first.size();
        m_kept.erase(oldest);
        m_order.pop_back();
    }
    return picture;
}

QByteArray Thumbnails::make(const Http::File& file)
{
    QFile device;
    // QFile closes what it opened, so it gets a descriptor of its own; the position in the file is the same.
    if (!device.open(::dup(file.descriptor()), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle) || !device.seek(0))
        return {};
    if (!Bedrock::excessivePictureCost(device).isEmpty())
        return {};
    QImageReader reader(&device);
    // Pictures of points alone: a drawing may name other files.
    static const QList<QByteArray> formats = {"bmp", "gif", "jpeg", "png", "webp"};
    if (!formats.contains(reader.format()))
        return {};
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (!size.isValid() || qint64(size.width()) * size.height() > kMostPixels)
        return {};
    if (size.width() <= kSidePx && size.height() <= kSidePx)
        return {};
    ++m_made;
    reader.setScaledSize(size.scaled(kSidePx, kSidePx, Qt::KeepAspectRatio).expandedTo({1, 1}));
    const QImage image = reader.read();
    if (image.isNull())
        return {};
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const bool isWritten = image.hasAlphaChannel() ? image.save(&buffer, "PNG") : image.save(&buffer, "JPEG", 82);
    return isWritten && bytes.size() < device.size() ? bytes : QByteArray();
}

}
