#pragma once

#include <QByteArray>
#include <QSize>

namespace TestSupport
{
/// Files of pictures of any size, written without having the pixels anywhere. All pixels are of one colour.

/// A whole PNG: one bit for each pixel, black. A thousandth of its pixels in bytes.
[[nodiscard]] QByteArray blackPng(QSize size);
/// A PNG of one bit for each pixel that ends where its pixels would begin.
[[nodiscard]] QByteArray pngHeader(QSize size);
/// A whole JPEG of one component, grey. `startOfFrame`: 0xc0 as it is, 0xc2 for a header that announces it as progressive, which
/// its contents are not.
[[nodiscard]] QByteArray greyJpeg(QSize size, char startOfFrame = '\xc0');
/// An icon file whose directory announces 16 × 16 pixels, with `picture` inside.
[[nodiscard]] QByteArray iconWith(const QByteArray& picture);
}
