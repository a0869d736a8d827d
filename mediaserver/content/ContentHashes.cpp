#include "ContentHashes.hpp"

#include <QCryptographicHash>

#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace MediaServer
{

QByteArray identityOf(const Http::File& file)
{
    struct stat status;
    if (::fstat(file.descriptor(), &status) != 0)
        return {};
    QByteArray result;
    for (const qint64 part :
         {static_cast<qint64>(status.st_dev), static_cast<qint64>(status.st_ino), static_cast<qint64>(status.st_size),
          static_cast<qint64>(status.st_mtim.tv_sec), static_cast<qint64>(status.st_mtim.tv_nsec),
          static_cast<qint64>(status.st_ctim.tv_sec), static_cast<qint64>(status.st_ctim.tv_nsec)})
        result += QByteArray::number(part) + ' ';
    return result;
}

QByteArray sha256Of(const Http::File& file)
{
    constexpr int kPiece = 256 * 1024;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    std::vector<char> piece(kPiece);
    for (off_t position = 0;;) {
        const ssize_t got = ::pread(file.descriptor(), piece.data(), kPiece, position);
        if (got < 0)
            return {};
        if (got == 0)
            return hash.result().toHex();
        hash.addData(piece.data(), static_cast<int>(got));
        position += got;
    }
}

ContentHashes::ContentHashes(const ContentFolder& content, Post post) : m_content(content), m_post(std::move(post)) {}

QByteArray ContentHashes::known(const QString& name, const Http::File& file) const
{
    const auto found = m_known.find(name);
    return found != m_known.end() && found->second.identity == identityOf(file) ? found->second.sha256 : QByteArray();
}

void ContentHashes::read(const QString& name, Done done)
{
    std::vector<Done>& waiting = m_waiting[name];
    waiting.push_back(std::move(done));
    if (waiting.size() > 1)
        return;
    m_reader.add([this, name, content = m_content] {
        Known known;
        if (const auto file = content.open(name)) {
            // A file that changes while it is read has another identity afterwards, so its hash is not used.
            known.identity = identityOf(*file);
            known.sha256 = sha256Of(*file);
        }
        m_post([this, name, known] {
            if (!known.sha256.isEmpty())
                m_known[name] = known;
            // What is called may ask for this file again.
            const auto ended = m_waiting.extract(name);
            for (const Done& each : ended.mapped())
                each();
        });
    });
}

void ContentHashes::remember(const QString& name, const Http::File& file, const QByteArray& sha256)
{
    m_known[name] = {identityOf(file), sha256};
}

}
