#pragma once

#include <QByteArray>
#include <QImage>

namespace Host
{
/// The picture as a PNG of 8 bits a channel, with opacity where its format has any. Empty for an empty picture, or when there is
/// no memory. Any thread. Qt's own writer looks through the plug-ins of all picture formats first, however small the picture is.
[[nodiscard]] QByteArray pngOf(const QImage& picture);
}
