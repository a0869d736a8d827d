#include "Base64File.hpp"

#include <QFileInfo>

#include <algorithm>
#include <cstring>

namespace Host
{
namespace
{
constexpr int kLineBytes = 57; ///< of the file; 76 characters
constexpr int kLineCharacters = 76;
constexpr int kPieceBytes = kLineBytes * 1024;
}

bool Base64File::open()
{
    if (!QFileInfo(m_file.fileName()).isFile() || !m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    m_size = m_left = m_file.size();
    return true;
}

qint64 Base64File::encodedSize() const
{
    const qint64 characters = (m_size + 2) / 3 * 4;
    return characters + characters / kLineCharacters * 2;
}

bool Base64File::encodeNext()
{
    QByteArray piece(int(std::min<qint64>(m_left, kPieceBytes)), Qt::Uninitialized);
    for (int got = 0; got < piece.size();) {
        const qint64 more = m_file.read(piece.data() + got, piece.size() - got);
        if (more <= 0)
            return false;
        got += int(more);
    }
    m_left -= piece.size();
    const QByteArray characters = piece.toBase64();
    m_encoded.resize(0);
    for (int at = 0; at < characters.size(); at += kLineCharacters) {
        const int length = std::min(kLineCharacters, characters.size() - at);
        m_encoded.append(characters.constData() + at, length);
        if (length == kLineCharacters)
            m_encoded.append("\r\n", 2);
    }
    m_given = 0;
    return true;
}

qint64 Base64File::read(char* target, qint64 most)
{
    qint64 given = 0;
    while (given < most) {
        if (m_given == m_encoded.size()) {
            if (m_left == 0)
                break;
            if (!encodeNext())
                return -1;
        }
        const qint64 length = std::min<qint64>(most - given, m_encoded.size() - m_given);
        std::memcpy(target + given, m_encoded.constData() + m_given, std::size_t(length));
        m_given += int(length);
        given += length;
    }
    return given;
}

bool Base64File::rewind()
{
    if (!m_file.seek(0))
        return false;
    m_left = m_size;
    m_encoded.clear();
    m_given = 0;
    return true;
}
}
