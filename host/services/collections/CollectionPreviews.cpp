#include "services/collections/CollectionPreviews.hpp"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace Host
{
namespace
{
constexpr qint64 kLargestPicture = 64 << 20;
}

bool CollectionPreviews::contains(const QString& path) const
{
    return QFileInfo(path).absolutePath() == folder();
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
    if (before.isFile() && before.size() == info.size() && before.lastModified() >= info.lastModified() && syncEntries())
        return Copied::Yes;
    const QByteArray bytes = source.readAll();
    if (source.error() != QFileDevice::NoError)
        return Copied::NoSource;
    return write(name, bytes, error) ? Copied::Yes : Copied::Failed;
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
    for (const QFileInfo& file : QDir(folder()).entryInfoList(QDir::Files | QDir::Hidden))
        if (wanted.count(file.fileName()) == 0 && file.lastModified() < hourAgo)
            QFile::remove(file.absoluteFilePath());
}
}
