#include "services/collections/SyncedFolder.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Host
{
namespace
{
/// Why a file could not be written: in its own words, or by the last system call.
QString reason(const QFile& file)
{
    return file.error() == QFileDevice::NoError ? QString::fromLocal8Bit(std::strerror(errno)) : file.errorString();
}

/// Has on the disk what a descriptor's file holds. Some file systems have no disk.
bool isSynced(int descriptor)
{
    return ::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS;
}

/// A folder above that may not be read is not ours to write, either.
bool syncFolder(const QString& path)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_DIRECTORY | O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return errno == EACCES;
    const bool isDone = isSynced(descriptor);
    const int fault = errno;
    ::close(descriptor);
    errno = fault;
    return isDone;
}
}

bool SyncedFolder::prepare(QString& error) const
{
    if (!QDir().mkpath(m_folder)) {
        error = QStringLiteral("cannot make the folder %1").arg(m_folder);
        return false;
    }
    // A new folder is in the one above only when that one is on the disk, too.
    for (QDir folder(m_folder); syncFolder(folder.absolutePath());)
        if (!folder.cdUp())
            return true;
    error =
        QStringLiteral("cannot write the folder %1 to the disk (%2)").arg(m_folder, QString::fromLocal8Bit(std::strerror(errno)));
    return false;
}

QString SyncedFolder::path(const QString& name) const
{
    return m_folder + QLatin1Char('/') + name;
}

bool SyncedFolder::syncEntries() const
{
    return syncFolder(m_folder);
}

bool SyncedFolder::write(const QString& name, const QByteArray& bytes, QString& error) const
{
    const QString aside = path(QStringLiteral("aside-") + name);
    QFile file(aside);
    const bool isWritten = file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size()
        && file.flush() && isSynced(file.handle());
    error = reason(file);
    file.close();
    // The file has its name only when its content is on the disk.
    if (isWritten && ::rename(QFile::encodeName(aside).constData(), QFile::encodeName(path(name)).constData()) == 0
        && syncEntries())
        return true;
    if (isWritten)
        error = reason(file);
    QFile::remove(aside);
    return false;
}

bool SyncedFolder::append(const QString& name, const QByteArray& bytes, QString& error) const
{
    const bool isNew = !QFileInfo::exists(path(name));
    if (isNew && !prepare(error))
        return false;
    const int descriptor =
        ::open(QFile::encodeName(path(name)).constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    struct stat before = {};
    const bool isOpen = descriptor >= 0 && ::fstat(descriptor, &before) == 0;
    const ssize_t written = isOpen ? ::write(descriptor, bytes.constData(), size_t(bytes.size())) : -1;
    const bool isWhole = written == ssize_t(bytes.size());
    if (written >= 0 && !isWhole)
        errno = ENOSPC; // as the next piece would be told
    const bool isDone = isWhole && isSynced(descriptor) && (!isNew || syncEntries());
    if (!isDone)
        error = QString::fromLocal8Bit(std::strerror(errno));
    if (!isDone && isOpen)
        (void)!::ftruncate(descriptor, before.st_size);
    if (descriptor >= 0)
        ::close(descriptor);
    return isDone;
}

bool SyncedFolder::clear(const QString& name, QString& error) const
{
    QFile file(path(name));
    if (!file.exists() || (file.open(QIODevice::ReadWrite | QIODevice::Unbuffered) && file.resize(0) && isSynced(file.handle())))
        return true;
    error = reason(file);
    return false;
}
}
