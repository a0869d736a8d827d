#include "OutboxFiles.hpp"

#include <QDir>
#include <QFileDevice>
#include <QUuid>

#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Host
{
namespace
{
constexpr qint64 kPieceBytes = 64 * 1024;

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// A descriptor, closed at the end of its scope.
class Descriptor
{
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] bool isOpen() const { return m_fd >= 0; }
    [[nodiscard]] int get() const { return m_fd; }

private:
    int m_fd;
};

bool writeAll(int fd, const char* bytes, qint64 size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, bytes, std::size_t(size));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        bytes += written;
        size -= written;
    }
    return true;
}

bool syncFolder(const QString& path)
{
    const Descriptor folder(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.isOpen() && ::fsync(folder.get()) == 0;
}

/// Whether reading can only take as long as a disk takes.
bool isOrdinary(QIODevice& source)
{
    if (source.isSequential())
        return false;
    const auto* file = qobject_cast<QFileDevice*>(&source);
    if (!file || file->handle() < 0)
        return true;
    struct stat status;
    return ::fstat(file->handle(), &status) == 0 && S_ISREG(status.st_mode);
}
}

QString OutboxFiles::makeFolder(QString& error) const
{
    const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces);
    if (QDir().mkpath(m_root + QLatin1Char('/') + name))
        return name;
    error = QStringLiteral("cannot make a folder in %1").arg(m_root);
    return {};
}

QString OutboxFiles::path(const QString& folder, int number) const
{
    return QStringLiteral("%1/%2/%3").arg(m_root, folder, QString::number(number));
}

OutboxFiles::Copy OutboxFiles::copy(QIODevice& source, const QString& folder, int number, qint64& sizeBytes, QString& error) const
{
    sizeBytes = 0;
    if (!source.isReadable()) {
        error = QStringLiteral("it is not open for reading");
        return Copy::Unreadable;
    }
    if (!isOrdinary(source)) {
        error = QStringLiteral("it is no ordinary file");
        return Copy::Unreadable;
    }
    if (!source.seek(0)) {
        error = source.errorString();
        return Copy::Unreadable;
    }
    const QString target = path(folder, number);
    const Descriptor out(::open(QFile::encodeName(target).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!out.isOpen()) {
        error = systemError();
        return Copy::DiskFault;
    }
    const auto piece = std::make_unique<char[]>(std::size_t(kPieceBytes));
    for (;;) {
        const qint64 got = source.read(piece.get(), kPieceBytes);
        if (got == 0 || (got < 0 && source.atEnd()))
            break;
        if (got < 0) {
            error = source.errorString();
            ::unlink(QFile::encodeName(target).constData());
            return Copy::Unreadable;
        }
        if (!writeAll(out.get(), piece.get(), got)) {
            error = systemError();
            return Copy::DiskFault;
        }
        sizeBytes += got;
    }
    if (::fsync(out.get()) != 0) {
        error = systemError();
        return Copy::DiskFault;
    }
    return Copy::Done;
}

bool OutboxFiles::finish(const QString& folder, QString& error) const
{
    if (syncFolder(m_root + QLatin1Char('/') + folder) && syncFolder(m_root))
        return true;
    error = systemError();
    return false;
}

void OutboxFiles::remove(const QString& folder) const
{
    if (!folder.isEmpty())
        QDir(m_root + QLatin1Char('/') + folder).removeRecursively();
}

void OutboxFiles::removeAllBut(const QStringList& folders) const
{
    const QStringList found = QDir(m_root).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& folder : found)
        if (!folders.contains(folder))
            remove(folder);
}
}
