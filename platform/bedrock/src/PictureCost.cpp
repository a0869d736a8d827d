#include "Bedrock/PictureCost.hpp"

#include <QByteArray>
#include <QIODevice>
#include <QtEndian>

#include <algorithm>

namespace Bedrock
{
namespace
{
constexpr int kMostChunks = 200000; ///< 200 megapixels in pieces of 8 KiB have a fifth of it
constexpr qint64 kMostTextBytes = qint64(128) << 20;
constexpr qint64 kLargestText = 8000000;     ///< of one chunk; the decoder refuses a longer one
constexpr qint64 kHighestCompression = 1032; ///< of deflate
constexpr qint64 kCopies = 3;                ///< of a text: the decoder's bytes, and two for each character
constexpr int kMostScans = 64;               ///< usual are 10
constexpr int kMostInIcon = 64;

const QByteArray kPng = QByteArrayLiteral("\x89PNG\r\n\x1a\n");

QString excessivePng(QIODevice& device, qint64 begin)
{
    qint64 texts = 0;
    qint64 place = begin + kPng.size();
    for (int chunk = 0; device.seek(place); ++chunk) {
        const QByteArray head = device.read(8);
        if (head.size() < 8 || head.endsWith("IEND"))
            return {};
        if (chunk == kMostChunks)
            return QStringLiteral("it has more than %1 chunks; save it anew").arg(kMostChunks);
        const qint64 length = qFromBigEndian<quint32>(head.constData());
        if (head.endsWith("zTXt") || head.endsWith("iTXt") || head.endsWith("iCCP"))
            texts += std::min(length * kHighestCompression, kLargestText) * kCopies;
        else if (head.endsWith("tEXt"))
            texts += length * kCopies;
        if (texts > kMostTextBytes)
            return QStringLiteral("the texts in it may take more than %1 MB of memory; save it without them")
                .arg(kMostTextBytes >> 20);
        constexpr qint64 kAround = 12; // length, kind, check sum
        place += length + kAround;
    }
    return {};
}

QString excessiveJpeg(QIODevice& device, qint64 begin)
{
    constexpr qint64 kPiece = 65536;
    constexpr char kMark = '\xff';
    constexpr char kStartOfScan = '\xda';
    int scans = 0;
    bool isMarked = false;
    device.seek(begin);
    // Within the data of a scan no such two bytes stand beside each other; in other segments they are rare.
    for (QByteArray piece = device.read(kPiece); !piece.isEmpty(); piece = device.read(kPiece)) {
        for (const char byte : piece) {
            scans += isMarked && byte == kStartOfScan ? 1 : 0;
            isMarked = byte == kMark;
        }
        if (scans > kMostScans)
            return QStringLiteral("it has more than %1 scans; save it as a JPEG that is not progressive").arg(kMostScans);
    }
    return {};
}

QString excessiveIcon(QIODevice& device)
{
    constexpr qint64 kHead = 6;
    constexpr qint64 kEntry = 16;
    for (qint64 entry = 0; entry < kMostInIcon && device.seek(kHead + entry * kEntry); ++entry) {
        const QByteArray bytes = device.read(kEntry);
        if (bytes.size() < kEntry)
            return {};
        const qint64 place = qFromLittleEndian<quint32>(bytes.constData() + 12);
        if (!device.seek(place) || device.read(kPng.size()) != kPng)
            continue;
        if (const QString excess = excessivePng(device, place); !excess.isEmpty())
            return excess;
    }
    return {};
}
}

QString excessivePictureCost(QIODevice& device)
{
    device.seek(0);
    const QByteArray head = device.read(kPng.size());
    QString excess;
    if (head == kPng)
        excess = excessivePng(device, 0);
    else if (head.startsWith("\xff\xd8\xff"))
        excess = excessiveJpeg(device, 0);
    else if (head.startsWith(QByteArray("\0\0\1\0", 4)) || head.startsWith(QByteArray("\0\0\2\0", 4)))
        excess = excessiveIcon(device);
    device.seek(0);
    return excess;
}
}
