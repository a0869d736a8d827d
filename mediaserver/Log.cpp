#include "Log.hpp"

#include <QDebug>

namespace MediaServer {

namespace {
QString line(const QString& what, const QString& detail)
{
    return detail.isEmpty() ? QStringLiteral("MediaServer # %1").arg(what)
                            : QStringLiteral("MediaServer # %1 (%2)").arg(what, detail);
}
} // namespace

void logInfo(const QString& what, const QString& detail)
{
    qInfo().noquote() << line(what, detail);
}

void logWarning(const QString& what, const QString& detail)
{
    qWarning().noquote() << line(what, detail);
}

} // namespace MediaServer
