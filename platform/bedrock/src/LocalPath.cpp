#include "Bedrock/LocalPath.hpp"

#include <QUrl>

namespace Bedrock
{
QString localPath(const QString& source)
{
    if (!source.startsWith(QLatin1String("file:"), Qt::CaseInsensitive))
        return source;
    const QString path = QUrl(source).toLocalFile();
    // An address of nothing stays as it is written, so that a message can name it.
    return path.isEmpty() ? source : path;
}
}
