#pragma once

#include <QByteArray>

namespace MediaServer
{

/// The QR code of `text` (error correction level M) as a black and white PNG: 8 pixels per module and the quiet zone of
/// 4 modules that scanners need. Empty when the text is too long for a QR code (about 2300 bytes).
[[nodiscard]] QByteArray qrCodePng(const QByteArray& text);

}
