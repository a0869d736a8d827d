#pragma once

#include <QByteArray>

#include <string>

/// What a scanner reads in the picture; empty when it finds no QR code.
[[nodiscard]] std::string readQrCode(const QByteArray& png);
