#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>
#include <QImage>

namespace Qr
{
/// A QR code of a text: black on white with its quiet zone of four modules, eight pixels for each module, one bit for each
/// pixel. Null for a text that is empty or too long for a code. Any thread.
[[nodiscard]] TAVOLA_EXPORT QImage picture(const QByteArray& text);
}
