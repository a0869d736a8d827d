#include "Bedrock/BoundedFile.hpp"

#include <QFile>

namespace Bedrock
{
std::optional<QByteArray> readBoundedFile(const QString& path, int mostMiB, QString& error)
{
    constexpr double kMiB = 1 << 20;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return std::nullopt;
    }
    const qint64 most = qint64(mostMiB) << 20;
    QByteArray bytes;
    // What is no ordinary file has no size, or a wrong one.
    if (file.size() <= most)
        bytes = file.read(most + 1);
    if (file.size() > most || bytes.size() > most) {
        const QString size = file.size() > most ? QString::number(double(file.size()) / kMiB, 'f', 1) + QStringLiteral(" MiB")
                                                : QStringLiteral("more");
        error = QStringLiteral("it has %1, the limit is %2 MiB").arg(size).arg(mostMiB);
        return std::nullopt;
    }
    if (file.error() != QFileDevice::NoError) {
        error = file.errorString();
        return std::nullopt;
    }
    return bytes;
}
}
