#include "Bedrock/PrivateFolder.hpp"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Bedrock
{
namespace
{
constexpr const char* kLockName = ".lock";
/// The lock file before it is locked.
constexpr const char* kNewLockName = ".lock.new";
/// A folder without a lock belongs to a process that is just making it, or to one that was killed while it did.
constexpr std::time_t kLongestMakingSeconds = 3600;
/// What mkdtemp() puts in place of "XXXXXX": letters and digits.
constexpr int kRandomCharacters = 6;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

class Descriptor
{
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// The names in an open folder that `isWanted`; a folder for temporary files may have thousands of others.
template <class IsWanted>
std::vector<QByteArray> namesIn(int folder, IsWanted isWanted)
{
    std::vector<QByteArray> names;
    const int copy = ::fcntl(folder, F_DUPFD_CLOEXEC, 0); // closedir closes its descriptor
    DIR* const listing = copy >= 0 ? ::fdopendir(copy) : nullptr;
    if (!listing) {
        if (copy >= 0)
            ::close(copy);
        return names;
    }
    ::rewinddir(listing);
    while (const dirent* entry = ::readdir(listing)) {
        const auto name = QByteArray::fromRawData(entry->d_name, int(std::strlen(entry->d_name)));
        if (name != "." && name != ".." && isWanted(name))
            names.emplace_back(entry->d_name);
    }
    ::closedir(listing);
    return names;
}

std::vector<QByteArray> namesIn(int folder)
{
    return namesIn(folder, [](const QByteArray&) { return true; });
}

/// Removes what is in an open folder of this user on the given file system.
bool empty(int folder, dev_t fileSystem)
{
    struct stat status = {};
    if (::fstat(folder, &status) != 0 || status.st_uid != ::geteuid() || status.st_dev != fileSystem)
        return false;
    bool isEmpty = true;
    for (const QByteArray& name : namesIn(folder)) {
        if (::fstatat(folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            continue; // gone meanwhile
        if (!S_ISDIR(status.st_mode)) {
            isEmpty = ::unlinkat(folder, name.constData(), 0) == 0 && isEmpty;
            continue;
        }
        const Descriptor inner(::openat(folder, name.constData(), kFolderFlags));
        isEmpty = inner.isOpen() && empty(inner.get(), fileSystem) && ::unlinkat(folder, name.constData(), AT_REMOVEDIR) == 0
            && isEmpty;
    }
    return isEmpty;
}

bool removeIn(int parent, const QByteArray& name)
{
    const Descriptor folder(::openat(parent, name.constData(), kFolderFlags));
    struct stat status = {};
    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0)
        return false;
    return empty(folder.get(), status.st_dev) && ::unlinkat(parent, name.constData(), AT_REMOVEDIR) == 0;
}

/// Whether make() can have given the name: `start` and the characters of mkdtemp().
bool isMadeName(const QByteArray& name, const QByteArray& start)
{
    return name.size() == start.size() + kRandomCharacters && name.startsWith(start)
        && std::all_of(name.begin() + start.size(), name.end(),
                       [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; });
}

/// Removes a folder that make() had not finished: it is empty or has the file that was to become the lock. Any other folder
/// without a lock was made by something else and stays.
void removeUnfinished(int parent, int folder, const QByteArray& name)
{
    const std::vector<QByteArray> inside = namesIn(folder);
    if (inside.size() > 1 || (inside.size() == 1 && inside.front() != kNewLockName))
        return;
    if (!inside.empty() && ::unlinkat(folder, kNewLockName, 0) != 0)
        return;
    static_cast<void>(::unlinkat(parent, name.constData(), AT_REMOVEDIR)); // of an empty folder only
}

/// Removes a folder of this user that was left by a process that has ended.
void removeLeftover(int parent, const QByteArray& name)
{
    const Descriptor folder(::openat(parent, name.constData(), kFolderFlags));
    struct stat status = {};
    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0 || status.st_uid != ::geteuid())
        return;
    const Descriptor lock(::openat(folder.get(), kLockName, O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (lock.isOpen()) {
        if (::flock(lock.get(), LOCK_EX | LOCK_NB) == 0)
            static_cast<void>(removeIn(parent, name));
    } else if (errno == ENOENT && std::time(nullptr) - status.st_mtime > kLongestMakingSeconds) {
        removeUnfinished(parent, folder.get(), name);
    }
}

void removeLeftovers(const QByteArray& base, const QByteArray& start)
{
    // The base itself may be a link: it is the operator's choice.
    const Descriptor folder(::open(base.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen())
        return;
    for (const QByteArray& name : namesIn(folder.get(), [&start](const QByteArray& name) { return isMadeName(name, start); }))
        removeLeftover(folder.get(), name);
}
}

std::unique_ptr<PrivateFolder> PrivateFolder::make(const QString& base, const QString& prefix, QString& error)
{
    const QString start = QDir(base).absoluteFilePath(prefix + QLatin1Char('-'));
    removeLeftovers(QFile::encodeName(base), QFile::encodeName(prefix + QLatin1Char('-')));
    const auto failed = [&] {
        error = QStringLiteral("Cannot make a folder for temporary files in %1 (%2); name another place by TMPDIR")
                    .arg(base, QString::fromStdString(std::generic_category().message(errno)));
        return nullptr;
    };
    QByteArray path = QFile::encodeName(start) + "XXXXXX";
    if (!::mkdtemp(path.data())) // 0700, whatever the umask allows
        return failed();
    // The lock gets its name when it is locked: a folder whose lock is free is a leftover to other processes.
    const QByteArray lockFile = path + '/' + kNewLockName;
    const int lock = ::open(lockFile.constData(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (lock < 0 || ::flock(lock, LOCK_EX | LOCK_NB) != 0
        || ::rename(lockFile.constData(), QByteArray(path + '/' + kLockName).constData()) != 0) {
        failed();
        if (lock >= 0)
            ::close(lock);
        ::unlink(lockFile.constData());
        ::rmdir(path.constData());
        return nullptr;
    }
    return std::unique_ptr<PrivateFolder>(new PrivateFolder(QFile::decodeName(path), lock));
}

PrivateFolder::~PrivateFolder()
{
    const int slash = m_path.lastIndexOf(QLatin1Char('/'));
    static_cast<void>(removeFolder(m_path.left(slash), m_path.mid(slash + 1)));
    ::close(m_lock);
}

bool removeFolder(const QString& parent, const QString& name)
{
    const Descriptor folder(::open(QFile::encodeName(parent).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.isOpen() && removeIn(folder.get(), QFile::encodeName(name));
}
}
