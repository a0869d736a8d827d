#include "IncomingFiles.hpp"

#include "ContentHashes.hpp"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace MediaServer
{

namespace
{

constexpr std::time_t kKeptSeconds = 7 * 24 * 3600;

QString words(int error)
{
    return QString::fromStdString(std::generic_category().message(error));
}

bool writeAll(int descriptor, const QByteArray& bytes, off_t from)
{
    for (int done = 0; done < bytes.size();) {
        const ssize_t written =
            ::pwrite(descriptor, bytes.constData() + done, static_cast<std::size_t>(bytes.size() - done), from + done);
        if (written < 0 && errno != EINTR)
            return false;
        done += written > 0 ? static_cast<int>(written) : 0;
    }
    return true;
}

/// The folder of arriving files; none where it is a link, which may lead to files of something else.
int openAside(const QByteArray& path)
{
    return ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/// After a power cut the folder has the entry.
bool syncFolder(const QByteArray& path)
{
    const Http::File folder(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.isOpen() && ::fsync(folder.descriptor()) == 0;
}

}

IncomingFiles::IncomingFiles(const QString& contentFolder)
    : m_folder(QFile::encodeName(contentFolder)), m_aside(m_folder + "/.incoming")
{
    removeOld();
}

void IncomingFiles::removeOld() const
{
    const Http::File folder(openAside(m_aside));
    if (!folder.isOpen())
        return;
    static const QRegularExpression own(QStringLiteral("\\A[0-9a-f]{64}-[0-9a-f]{16}\\z"));
    const std::time_t oldest = std::time(nullptr) - kKeptSeconds;
    for (const QString& name : QDir(QFile::decodeName(m_aside)).entryList(QDir::Files | QDir::Hidden)) {
        const QByteArray entry = QFile::encodeName(name);
        struct stat status;
        if (own.match(name).hasMatch() && ::fstatat(folder.descriptor(), entry.constData(), &status, AT_SYMLINK_NOFOLLOW) == 0
            && S_ISREG(status.st_mode) && status.st_mtime < oldest)
            ::unlinkat(folder.descriptor(), entry.constData(), 0);
    }
}

bool IncomingFiles::isWritable() const
{
    ::mkdir(m_aside.constData(), 0700);
    if (!Http::File(openAside(m_aside)).isOpen())
        return false;
    return ::access(m_folder.constData(), W_OK | X_OK) == 0 && ::access(m_aside.constData(), W_OK | X_OK) == 0;
}

QByteArray IncomingFiles::asideName(const Id& id) const
{
    // Two names may wait for the same content.
    const QByteArray name = QCryptographicHash::hash(id.name.toUtf8(), QCryptographicHash::Sha256).toHex().left(16);
    return m_aside + '/' + id.sha256 + '-' + name;
}

qint64 IncomingFiles::received(const Id& id) const
{
    struct stat status;
    return ::lstat(asideName(id).constData(), &status) == 0 ? static_cast<qint64>(status.st_size) : 0;
}

Result<qint64> IncomingFiles::append(const Id& id, qint64 from, const QByteArray& piece) const
{
    // A pipe in the place of the file is not waited for.
    const Http::File file(::open(asideName(id).constData(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    struct stat status;
    if (!file.isOpen() || ::fstat(file.descriptor(), &status) != 0)
        return tl::unexpected(words(errno));
    if (status.st_size != from)
        return static_cast<qint64>(status.st_size);
    if (!writeAll(file.descriptor(), piece, from)) {
        const QString reason = words(errno);
        if (::ftruncate(file.descriptor(), from) != 0)
            ::unlink(asideName(id).constData());
        return tl::unexpected(reason);
    }
    return from + piece.size();
}

IncomingFiles::Ending IncomingFiles::place(const Id& id, Http::File& file, QString& reason) const
{
    const QByteArray aside = asideName(id);
    const auto failed = [&reason] {
        reason = words(errno);
        return Ending::Failed;
    };
    Http::File whole(::open(aside.constData(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!whole.isOpen() || ::fsync(whole.descriptor()) != 0)
        return failed();
    const QByteArray hash = sha256Of(whole);
    if (hash.isEmpty())
        return failed();
    if (hash != id.sha256) {
        ::unlink(aside.constData());
        return Ending::OtherContent;
    }
    const QByteArray target = m_folder + '/' + QFile::encodeName(id.name);
    // A link fails where a file of that name is; renaming would replace it.
    if (::link(aside.constData(), target.constData()) != 0) {
        if (errno != EEXIST)
            return failed();
        ::unlink(aside.constData());
        return Ending::NameInUse;
    }
    ::unlink(aside.constData());
    if (!syncFolder(m_folder))
        return failed();
    file = std::move(whole);
    return Ending::Placed;
}

}
