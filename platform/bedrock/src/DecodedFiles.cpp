#include "Bedrock/DecodedFiles.hpp"

#include "EntryFile.hpp"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <mutex>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace Bedrock
{
namespace
{
/// Raised when the meaning of any kept bytes changes.
constexpr char kVersion[] = "1";

QString cleanPath(const QString& path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

/// Without links, as far as the path exists.
QString realPath(const QString& path)
{
    const QString real = QFileInfo(path).canonicalFilePath();
    return real.isEmpty() ? cleanPath(path) : real;
}

bool isIn(const QString& path, const QString& folder)
{
    return path.startsWith(folder) && path.midRef(folder.size()).startsWith(QLatin1Char('/'));
}

QByteArray number(qint64 value)
{
    return QByteArray::number(value) + ' ';
}

/// Empty for what is no file.
QByteArray stateOf(const QString& path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    const QByteArray text = number(qint64(status.st_ino)) + number(status.st_size) + number(status.st_mtim.tv_sec)
        + number(status.st_mtim.tv_nsec) + number(status.st_ctim.tv_sec) + number(status.st_ctim.tv_nsec) + kVersion + ' '
        + qVersion();
    return QCryptographicHash::hash(text, QCryptographicHash::Sha1);
}

std::mutex& sharedMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::shared_ptr<DecodedFiles>& sharedFiles()
{
    static std::shared_ptr<DecodedFiles> files;
    return files;
}
}

struct DecodedFiles::Private
{
    QByteArray folder;
    qint64 mostBytes;
    QString root;
    QStringList unkept; ///< without links
    std::mutex writing; ///< one entry after the other, so that the limit holds
};

DecodedFiles::DecodedFiles(const Settings& settings) : d(std::make_unique<Private>())
{
    d->folder = QFile::encodeName(settings.folder);
    d->mostBytes = settings.mostBytes;
    d->root = cleanPath(settings.root);
    for (const QString& folder : settings.unkept)
        if (!isIn(realPath(d->root), realPath(folder)))
            d->unkept << realPath(folder);
}

DecodedFiles::~DecodedFiles() = default;

std::shared_ptr<DecodedFiles> DecodedFiles::shared()
{
    const std::lock_guard<std::mutex> guard(sharedMutex());
    return sharedFiles();
}

void DecodedFiles::setShared(std::shared_ptr<DecodedFiles> kept)
{
    {
        const std::lock_guard<std::mutex> guard(sharedMutex());
        sharedFiles().swap(kept);
    }
    kept.reset(); // outside of the lock
}

std::optional<DecodedFiles::Source> DecodedFiles::source(const QString& path, const QByteArray& wanted) const
{
    const QString clean = cleanPath(path);
    if (!isIn(clean, d->root))
        return std::nullopt;
    const QString real = realPath(clean);
    if (std::any_of(d->unkept.begin(), d->unkept.end(), [&real](const QString& folder) { return isIn(real, folder); }))
        return std::nullopt;
    Source source{clean, {}, stateOf(clean)};
    if (source.state.isEmpty())
        return std::nullopt;
    source.entry = EntryFile::nameOf(clean.toUtf8() + '\0' + wanted);
    return source;
}

struct DecodedFiles::Bytes::Private
{
    EntryMap map;
};

DecodedFiles::Bytes::Bytes() : d(std::make_unique<Private>()) {}
DecodedFiles::Bytes::~Bytes() = default;

const char* DecodedFiles::Bytes::data() const noexcept
{
    return d->map.bytes();
}

qint64 DecodedFiles::Bytes::size() const noexcept
{
    return d->map.size();
}

std::shared_ptr<const DecodedFiles::Bytes> DecodedFiles::find(const Source& source) const
{
    const EntryFolder folder = EntryFolder::open(d->folder);
    const std::shared_ptr<Bytes> bytes(new Bytes);
    if (!folder.isOpen() || !bytes->d->map.open(folder, source.entry, source.state))
        return nullptr;
    return bytes;
}

void DecodedFiles::keep(const Source& source, const QByteArray& decoded)
{
    const qint64 size = EntryFile::sizeOf(decoded);
    if (size > d->mostBytes || stateOf(source.path) != source.state)
        return;
    const std::lock_guard<std::mutex> guard(d->writing);
    const EntryFolder folder = EntryFolder::make(d->folder);
    if (!folder.isOpen())
        return;
    folder.shrink(d->mostBytes - size, source.entry);
    EntryFile::write(folder, source.entry, source.state, decoded);
}
}
