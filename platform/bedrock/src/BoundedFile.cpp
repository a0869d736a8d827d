#include "Bedrock/BoundedFile.hpp"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace Bedrock
{
namespace
{
constexpr double kMiB = 1 << 20;

QString tooLarge(qint64 bytes, int mostMiB)
{
    return QStringLiteral("it has %1 MiB, the limit is %2 MiB").arg(double(bytes) / kMiB, 0, 'f', 1).arg(mostMiB);
}

QString reasonOf(int number)
{
    return QString::fromLocal8Bit(std::strerror(number));
}

/// Of a file in the program itself.
std::optional<QByteArray> readResource(const QString& path, int mostMiB, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return std::nullopt;
    }
    if (file.size() > qint64(mostMiB) << 20) {
        error = tooLarge(file.size(), mostMiB);
        return std::nullopt;
    }
    return file.readAll();
}

/// Closes in its destructor.
struct OpenFile
{
    explicit OpenFile(int theDescriptor) : descriptor(theDescriptor) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile()
    {
        if (descriptor >= 0)
            ::close(descriptor);
    }
    const int descriptor;
};

/// Why it is not read; empty for a file that is.
QString complaintAbout(const struct stat& status)
{
    if (S_ISDIR(status.st_mode))
        return QStringLiteral("it is a folder; name a file");
    if (!S_ISREG(status.st_mode))
        return QStringLiteral("it is a pipe or a device; save what it gives in a file and name that");
    return {};
}

/// All that comes, but no more than `most` bytes. `expected`: about so many. Nothing, with the number of the error in `errno`,
/// when reading fails.
std::optional<QByteArray> readUpTo(int descriptor, qint64 most, qint64 expected)
{
    constexpr qint64 kLeast = 4096;
    QByteArray bytes(int(std::min(most, std::max(expected + 1, kLeast))), Qt::Uninitialized); // one more, which shows the end
    int length = 0;
    for (;;) {
        const ssize_t count = ::read(descriptor, bytes.data() + length, std::size_t(bytes.size() - length));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        length += int(count);
        if (count == 0 || length == most)
            break;
        if (length == bytes.size())
            bytes.resize(int(std::min(most, 2 * qint64(length))));
    }
    bytes.truncate(length);
    return bytes;
}
}

std::optional<QByteArray> readBoundedFile(const QString& path, int mostMiB, QString& error)
{
    if (path.startsWith(QLatin1Char(':')))
        return readResource(path, mostMiB, error);
    // A pipe that has no writer would stop the program: it is opened without waiting.
    const OpenFile file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status = {};
    if (file.descriptor < 0 || ::fstat(file.descriptor, &status) != 0) {
        error = reasonOf(errno);
        return std::nullopt;
    }
    if (const QString complaint = complaintAbout(status); !complaint.isEmpty()) {
        error = complaint;
        return std::nullopt;
    }
    const qint64 most = qint64(mostMiB) << 20;
    if (status.st_size > most) {
        error = tooLarge(status.st_size, mostMiB);
        return std::nullopt;
    }
    // A file of the system, such as those in /proc, has no size, or a wrong one.
    const auto bytes = readUpTo(file.descriptor, most + 1, status.st_size);
    if (!bytes) {
        error = reasonOf(errno);
        return std::nullopt;
    }
    if (bytes->size() > most) {
        error = QStringLiteral("it has more than the limit of %1 MiB").arg(mostMiB);
        return std::nullopt;
    }
    return bytes;
}
}
