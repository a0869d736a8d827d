#include "inspector/PngWriting.hpp"

#include <png.h>

namespace Host
{
QByteArray pngOf(const QImage& picture)
{
    const bool hasOpacity = picture.hasAlphaChannel();
    const QImage pixels = picture.convertToFormat(hasOpacity ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
    if (pixels.isNull())
        return {};
    png_image header = {};
    header.version = PNG_IMAGE_VERSION;
    header.width = png_uint_32(pixels.width());
    header.height = png_uint_32(pixels.height());
    header.format = hasOpacity ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(header);
    QByteArray png(int(size), Qt::Uninitialized);
    const bool isWritten =
        png_image_write_to_memory(&header, png.data(), &size, 0, pixels.constBits(), pixels.bytesPerLine(), nullptr) != 0;
    png_image_free(&header);
    png.resize(isWritten ? int(size) : 0);
    return png;
}
}
