#include "presentation/DataFolder.hpp"

#include <QCryptographicHash>
#include <QDir>
#include <QStandardPaths>
#include <QUrl>

namespace Host
{
namespace
{
QString suffixOf(const QString& serviceName)
{
    return serviceName.isEmpty() ? QString() : QLatin1Char('-') + QString::fromLatin1(QUrl::toPercentEncoding(serviceName));
}
}

QString dataFolder(const QString& presentationFolder, const QString& given)
{
    if (!given.isEmpty())
        return QDir(given).absolutePath();
    const QByteArray hash = QCryptographicHash::hash(presentationFolder.toUtf8(), QCryptographicHash::Sha1).toHex().left(8);
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/tavola/%1-%2").arg(QDir(presentationFolder).dirName(), QString::fromLatin1(hash));
}

QString outboxFolder(const QString& data, const QString& serviceName)
{
    return data + QStringLiteral("/mail/outbox") + suffixOf(serviceName);
}

QString collectionsFile(const QString& data)
{
    return data + QStringLiteral("/collections/collections.sqlite");
}

QString contentQueueFile(const QString& data, const QString& serviceName)
{
    return data + QStringLiteral("/content/queue") + suffixOf(serviceName) + QStringLiteral(".sqlite");
}
}
