#pragma once

#include <QImage>

namespace Lantern
{
/// A picture whose bytes are all 0. From some megabytes on its memory is in large pages where the kernel has them: the first
/// write to each of thousands of small ones would take longer than drawing. Null when there is no memory. Any thread.
[[nodiscard]] QImage makeLargeImage(QSize size, QImage::Format format);

/// Has the kernel bring the memory of a picture that is about to be written whole at once; by itself it does so page by page, at
/// the first write to each, which takes longer than writing. Any thread.
void bringPages(QImage& image);
}
