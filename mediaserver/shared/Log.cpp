#include "Log.hpp"

#include <Bedrock/Trace.hpp>

#include <QByteArray>

namespace MediaServer
{

namespace
{

QByteArray line(const QString& what, const QString& detail)
{
    const QString text = QStringLiteral("MediaServer # %1").arg(what);
    return (detail.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, detail)).toUtf8();
}

}

void logInfo(const QString& what, const QString& detail)
{
    Bedrock::Trace::info("%s", line(what, detail).constData());
}

void logWarning(const QString& what, const QString& detail)
{
    Bedrock::Trace::warning("%s", line(what, detail).constData());
}

}
