#pragma once

#include <QByteArray>
#include <QImage>

namespace Tavola
{
/// A QR code of a text, dark on white with its quiet zone; null for a text that is empty or too long for one.
[[nodiscard]] QImage qrPicture(const QByteArray& text);
}
