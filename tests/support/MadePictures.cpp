#include "MadePictures.hpp"

#include <QBuffer>
#include <QImage>
#include <QtEndian>

#include <doctest/doctest.h>

namespace TestSupport
{
namespace
{
template <class Number>
QByteArray big(Number number)
{
    QByteArray bytes(int(sizeof number), 0);
    qToBigEndian(number, bytes.data());
    return bytes;
}

template <class Number>
QByteArray little(Number number)
{
    QByteArray bytes(int(sizeof number), 0);
    qToLittleEndian(number, bytes.data());
    return bytes;
}

QByteArray pngChunk(const QByteArray& kindAndContent)
{
    quint32 crc = 0xFFFFFFFFu;
    for (const char byte : kindAndContent) {
        crc ^= quint8(byte);
        for (int k = 0; k < 8; ++k)
            crc = (crc & 1) ? 0xEDB88320u ^ (crc >> 1) : crc >> 1;
    }
    return big(quint32(kindAndContent.size() - 4)) + kindAndContent + big(crc ^ 0xFFFFFFFFu);
}
}

QByteArray pngHeader(QSize size)
{
    const QByteArray oneBitGrey("\x01\0\0\0\0", 5);
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR" + big(size.width()) + big(size.height()) + oneBitGrey)
        + pngChunk("IDAT");
}

QByteArray blackPng(QSize size)
{
    // Each row is led by its filter.
    const QByteArray rows((1 + (size.width() + 7) / 8) * size.height(), 0);
    return pngHeader(size) + pngChunk("IDAT" + qCompress(rows).mid(4)) + pngChunk("IEND");
}

QByteArray greyJpeg(QSize size, char startOfFrame)
{
    QImage block(8, 8, QImage::Format_Grayscale8);
    block.fill(QColor(128, 128, 128));
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    REQUIRE(block.save(&buffer, "JPEG"));
    const int frame = jpeg.indexOf("\xff\xc0");
    const int scan = jpeg.indexOf("\xff\xda");
    REQUIRE(frame > 0);
    REQUIRE(scan > frame);
    jpeg[frame + 1] = startOfFrame;
    jpeg.replace(frame + 5, 4, big(quint16(size.height())) + big(quint16(size.width())));
    // A grey block is six bits: no change of brightness, end of block. Four of them are three bytes; the last byte is filled
    // with 1.
    const int content = scan + 2 + qFromBigEndian<quint16>(jpeg.constData() + scan + 2);
    REQUIRE(jpeg.mid(content) == QByteArray("\x2b\xff\xd9"));
    const int blocks = ((size.width() + 7) / 8) * ((size.height() + 7) / 8);
    static const char* const kRests[] = {"", "\x2b", "\x28\xaf", "\x28\xa2\xbf"};
    return jpeg.left(content) + QByteArray("\x28\xa2\x8a").repeated(blocks / 4) + kRests[blocks % 4] + "\xff\xd9";
}

QByteArray iconWith(const QByteArray& picture)
{
    return QByteArray("\0\0\1\0\1\0", 6) + QByteArray("\x10\x10\0\0\1\0\x20\0", 8) + little(quint32(picture.size()))
        + little(quint32(22)) + picture;
}
}
