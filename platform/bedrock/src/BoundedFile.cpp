#include "Bedrock/BoundedFile.hpp"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Bedrock
{
namespace
{
/// Nothing in `error` when the file is open. A pipe that has no writer would stop the program: it is opened without waiting.
void open(QFile& file, const QString& path, QString& error)
{
    if (path.startsWith(QLatin1Char(':'))) { // a file in the program itself
        file.setFileName(path);
        if (!file.open(QIODevice::ReadOnly))
            error = file.errorString();
        return;
    }
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat status = {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0)
        error = QString::fromLocal8Bit(std::strerror(errno));
    else if (S_ISDIR(status.st_mode))
        error = QStringLiteral("it is a folder; name a file");
    else if (!S_ISREG(status.st_mode))
        error = QStringLiteral("it is a pipe or a device; save what it gives in a file and name that");
    else if (!file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        error = file.errorString();
    if (!file.isOpen() && descriptor >= 0)
        ::close(descriptor);
}
}

std::optional<QByteArray> readBoundedFile(const QString& path, int mostMiB, QString& error)
{
    constexpr double kMiB = 1 << 20;
    QFile file;
    QString reason;
    open(file, path, reason);
    if (!reason.isEmpty()) {
        error = reason;
        return std::nullopt;
    }
    const qint64 most = qint64(mostMiB) << 20;
    QByteArray bytes;
    // A file of the system, such as those in /proc, has no size, or a wrong one.
    if (file.size() <= most)
        bytes = file.read(most + 1);
    if (file.size() > most || bytes.size() > most) {
        error = file.size() > most
            ? QStringLiteral("it has %1 MiB, the limit is %2 MiB").arg(double(file.size()) / kMiB, 0, 'f', 1).arg(mostMiB)
            : QStringLiteral("it has more than the limit of %1 MiB").arg(mostMiB);
        return std::nullopt;
    }
    if (file.error() != QFileDevice::NoError) {
        error = file.errorString();
        return std::nullopt;
    }
    return bytes;
}
}
