#include "commands/SetAside.hpp"

#include <QFile>
#include <QFileInfo>

namespace Host
{
QString setAside(const QString& file)
{
    const QFileInfo info(file);
    for (int number = 1; number < 1000; ++number) {
        const QString name = QStringLiteral("%1/%2-imported%3.%4")
                                 .arg(info.absolutePath(), info.completeBaseName(),
                                      number == 1 ? QString() : QString::number(number), info.suffix());
        if (QFileInfo::exists(name))
            continue;
        return QFile::rename(file, name) ? name : QString();
    }
    return {};
}
}
