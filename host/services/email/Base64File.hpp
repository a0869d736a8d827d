#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

namespace Host
{
/// A file as it stands in a mail: base64 in lines of 76 characters that end with CR LF, made piece by piece while it is read.
class Base64File
{
public:
    explicit Base64File(const QString& path) : m_file(path) {}

    /// False when there is no such ordinary file, or it cannot be read.
    [[nodiscard]] bool open();
    /// Of the whole, encoded, as the file was when it was opened.
    [[nodiscard]] qint64 encodedSize() const;
    /// The next characters, at most `most`; 0 at the end, -1 when the file cannot be read further or has shrunk.
    [[nodiscard]] qint64 read(char* target, qint64 most);
    [[nodiscard]] bool rewind();

private:
    [[nodiscard]] bool encodeNext();

    QFile m_file;
    qint64 m_size = 0;    ///< of the file when it was opened
    qint64 m_left = 0;    ///< bytes of it that are still to come
    QByteArray m_encoded; ///< a piece of it
    int m_given = 0;      ///< how much of that piece is given out
};
}
