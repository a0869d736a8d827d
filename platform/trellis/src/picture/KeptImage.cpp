#include "picture/KeptImage.hpp"

#include <Bedrock/DecodedFiles.hpp>

#include <cstring>
#include <memory>
#include <optional>

namespace Trellis
{
namespace
{
/// Kept in front of the rows of pixels, which have no padding.
struct KeptHead
{
    qint32 width;
    qint32 height;
    qint32 fullWidth;
    qint32 fullHeight;
    qint32 hasAlpha;
};
static_assert(sizeof(KeptHead) == 20 && sizeof(KeptHead) % 4 == 0, "pixels begin at a multiple of four");

/// Of files with more pixels nothing is kept: bytes of an entry are counted with int.
constexpr qint64 kMostKeptPixels = 64'000'000;

QByteArray bytesOf(const ReadImage& read)
{
    const QImage& image = read.image;
    const KeptHead head{image.width(), image.height(), read.fullSize.width(), read.fullSize.height(), image.hasAlphaChannel()};
    QByteArray bytes;
    bytes.reserve(int(sizeof(head)) + int(image.sizeInBytes()));
    bytes.append(reinterpret_cast<const char*>(&head), int(sizeof(head)));
    bytes.append(reinterpret_cast<const char*>(image.constBits()), int(image.sizeInBytes()));
    return bytes;
}

using KeptBytes = std::shared_ptr<const Bedrock::DecodedFiles::Bytes>;

void release(void* bytes)
{
    delete static_cast<KeptBytes*>(bytes);
}

/// A picture whose pixels are the bytes themselves; nothing when they are no picture.
std::optional<ReadImage> imageOf(const KeptBytes& bytes)
{
    KeptHead head;
    if (bytes->size() < qint64(sizeof(head)))
        return std::nullopt;
    std::memcpy(&head, bytes->data(), sizeof(head));
    const qint64 pixels = qint64(head.width) * head.height;
    if (head.width <= 0 || head.height <= 0 || pixels > kMostKeptPixels || bytes->size() - qint64(sizeof(head)) != pixels * 4)
        return std::nullopt;
    auto owner = std::make_unique<KeptBytes>(bytes);
    const auto* const rows = reinterpret_cast<const uchar*>(bytes->data() + sizeof(head));
    ReadImage read;
    read.image = QImage(rows, head.width, head.height, head.width * 4,
                        head.hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32, &release, owner.get());
    read.fullSize = QSize(head.fullWidth, head.fullHeight);
    if (read.image.isNull())
        return std::nullopt;
    static_cast<void>(owner.release()); // belongs to the picture
    return read;
}
}

ReadImage readKeptImage(const QString& path, const ImageSize& wanted)
{
    const auto kept = Bedrock::DecodedFiles::shared();
    if (!kept)
        return readImage(path, wanted);
    const QByteArray size =
        (wanted.side == ImageSize::Side::Longest ? "picture longest " : "picture shortest ") + QByteArray::number(wanted.edgePx);
    const auto source = kept->source(path, size);
    if (!source)
        return readImage(path, wanted);
    if (const auto bytes = kept->find(*source))
        if (auto read = imageOf(bytes))
            return *std::move(read);
    ReadImage read = readImage(path, wanted);
    if (!read.image.isNull() && qint64(read.image.width()) * read.image.height() <= kMostKeptPixels)
        kept->keep(*source, bytesOf(read));
    return read;
}
}
