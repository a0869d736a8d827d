#pragma once

#include <QByteArray>
#include <QString>

namespace Host
{
/// A file of the table that a visitor has collected, as it was then. A plain record.
struct ContentNote
{
    QString name;      ///< on the media server: the bare file name
    QString path;      ///< on the table, absolute
    QByteArray sha256; ///< of its content, 64 hexadecimal digits in small letters
    qint64 size = 0;   ///< bytes
};
}
