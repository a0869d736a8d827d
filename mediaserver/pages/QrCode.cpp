#include "QrCode.hpp"

#include <Qr/QrPicture.hpp>

#include <QBuffer>

namespace MediaServer
{
QByteArray qrCodePng(const QByteArray& text)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    const QImage picture = Qr::picture(text);
    return !picture.isNull() && picture.save(&buffer, "PNG") ? png : QByteArray();
}
}
