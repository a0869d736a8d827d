#include "LargeImage.hpp"

#include <cstdint>
#include <cstring>
#include <memory>

#include <sys/mman.h>

namespace Lantern
{
namespace
{
/// Of the processors that tables have; with others, the pages are the usual ones.
constexpr std::size_t kPageBytes = std::size_t(2) << 20;
constexpr std::size_t kSmallPageBytes = 4096;

/// Qt counts some of them with int.
constexpr qint64 kMostBytes = 0x7fffffff;

/// A mapping that begins where a large page may.
struct Mapping
{
    void* begin;
    std::size_t bytes;
};

void release(void* mapping)
{
    const std::unique_ptr<Mapping> released(static_cast<Mapping*>(mapping));
    ::munmap(released->begin, released->bytes);
}

/// Null when there is no memory.
std::unique_ptr<Mapping> map(std::size_t bytes)
{
    // The end is in a large page, too, where that takes little more memory.
    const auto roundedUp = [bytes](std::size_t page) { return (bytes + page - 1) / page * page; };
    const bool isNearlyWhole = roundedUp(kPageBytes) - bytes <= bytes / 16;
    const std::size_t kept = roundedUp(isNearlyWhole ? kPageBytes : kSmallPageBytes);
    const std::size_t reserved = kept + kPageBytes;
    void* const begin = ::mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (begin == MAP_FAILED)
        return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(begin);
    const std::size_t before = (kPageBytes - address % kPageBytes) % kPageBytes;
    char* const aligned = static_cast<char*>(begin) + before;
    // What is too much goes back.
    if (before > 0)
        ::munmap(begin, before);
    ::munmap(aligned + kept, kPageBytes - before);
    ::madvise(aligned, kept, MADV_HUGEPAGE);
    return std::make_unique<Mapping>(Mapping{aligned, kept});
}
}

QImage makeLargeImage(QSize size, QImage::Format format)
{
    const qint64 bytesPerLine = qint64(size.width()) * 4;
    const qint64 bytes = bytesPerLine * size.height();
    if (size.isEmpty() || QImage::toPixelFormat(format).bitsPerPixel() != 32 || bytes < 2 * qint64(kPageBytes)
        || bytes > kMostBytes) {
        QImage image(size, format);
        if (!image.isNull())
            std::memset(image.bits(), 0, std::size_t(image.sizeInBytes()));
        return image;
    }
    std::unique_ptr<Mapping> mapping = map(std::size_t(bytes));
    if (!mapping)
        return {};
    QImage image(static_cast<uchar*>(mapping->begin), size.width(), size.height(), int(bytesPerLine), format, &release,
                 mapping.get());
    if (!image.isNull())
        static_cast<void>(mapping.release()); // belongs to the picture
    else
        ::munmap(mapping->begin, mapping->bytes);
    return image;
}

void bringPages(QImage& image)
{
#ifdef MADV_POPULATE_WRITE // in kernels from 5.14 on
    const auto begin = reinterpret_cast<std::uintptr_t>(image.bits());
    const std::uintptr_t first = (begin + kSmallPageBytes - 1) / kSmallPageBytes * kSmallPageBytes;
    const std::uintptr_t end = (begin + std::uintptr_t(image.sizeInBytes())) / kSmallPageBytes * kSmallPageBytes;
    if (end > first)
        ::madvise(reinterpret_cast<void*>(first), end - first, MADV_POPULATE_WRITE);
#else
    static_cast<void>(image);
#endif
}
}
