#include "services/collections/CollectionPreviews.hpp"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace Host
{
namespace
{
constexpr qint64 kLargestPicture = 64 << 20;

/// Of the last system call that failed.
QString reason()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// Has what a file or folder holds on the disk. A folder above that may not be read is not ours to write, either.
bool sync(const QString& path, int flags)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(), flags | O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return (flags & O_DIRECTORY) != 0 && errno == EACCES;
    const bool isDone = ::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS;
    const int fault = errno;
    ::close(descriptor);
    errno = fault;
    return isDone;
}
}

bool CollectionPreviews::prepare(QString& error) const
{
    if (!QDir().mkpath(m_folder)) {
        error = QStringLiteral("cannot make the folder %1").arg(m_folder);
        return false;
    }
    // A new folder is in the one above only when that one is on the disk, too.
    for (QDir folder(m_folder); sync(folder.absolutePath(), O_DIRECTORY);)
        if (!folder.cdUp())
            return true;
    error = QStringLiteral("cannot write the folder %1 to the disk (%2)").arg(m_folder, reason());
    return false;
}

QString CollectionPreviews::path(const QString& name) const
{
    return m_folder + QLatin1Char('/') + name;
}

bool CollectionPreviews::contains(const QString& path) const
{
    return QFileInfo(path).absolutePath() == m_folder;
}

CollectionPreviews::Copied CollectionPreviews::copy(const QString& picture, const QString& key, QString& name,
                                                    QString& error) const
{
    const QFileInfo info(picture);
    QFile source(picture);
    if (!info.isFile() || !source.open(QIODevice::ReadOnly) || source.size() > kLargestPicture)
        return Copied::NoSource;
    name = key + QLatin1Char('.') + info.suffix();
    // Every change of an item's status comes with its preview.
    const QFileInfo before(path(name));
    if (before.isFile() && before.size() == info.size() && before.lastModified() >= info.lastModified()
        && sync(m_folder, O_DIRECTORY))
        return Copied::Yes;
    const QByteArray bytes = source.readAll();
    if (source.error() != QFileDevice::NoError)
        return Copied::NoSource;
    return write(name, bytes, error) ? Copied::Yes : Copied::Failed;
}

bool CollectionPreviews::write(const QString& name, const QByteArray& bytes, QString& error) const
{
    const QString aside = path(QStringLiteral("aside-") + name);
    QFile file(aside);
    const bool isWritten = file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size()
        && file.flush() && sync(aside, 0);
    error = file.error() == QFileDevice::NoError ? reason() : file.errorString();
    file.close();
    // The file has its name only when its content is on the disk.
    if (isWritten && ::rename(QFile::encodeName(aside).constData(), QFile::encodeName(path(name)).constData()) == 0
        && sync(m_folder, O_DIRECTORY))
        return true;
    if (isWritten)
        error = reason();
    QFile::remove(aside);
    return false;
}

void CollectionPreviews::remove(const QStringList& names) const
{
    for (const QString& name : names)
        if (!name.isEmpty())
            QFile::remove(path(name));
}

void CollectionPreviews::removeAllBut(const std::set<QString>& wanted) const
{
    const QDateTime hourAgo = QDateTime::currentDateTime().addSecs(-3600);
    for (const QFileInfo& file : QDir(m_folder).entryInfoList(QDir::Files | QDir::Hidden))
        if (wanted.count(file.fileName()) == 0 && file.lastModified() < hourAgo)
            QFile::remove(file.absoluteFilePath());
}
}
