#include <Bedrock/Trace.hpp>

#include <QString>

/// The media server logs through Qt. Here its lines go the way of every other log, so that a warning nobody announced
/// fails the test, and so do Qt's own warnings.
namespace
{

void toTrace(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    const QByteArray line = text.toUtf8();
    if (type == QtDebugMsg || type == QtInfoMsg)
        Bedrock::Trace::info("%s", line.constData());
    else if (type == QtWarningMsg)
        Bedrock::Trace::warning("%s", line.constData());
    else
        Bedrock::Trace::error("%s", line.constData());
}

const auto formerHandler = qInstallMessageHandler(toTrace);

} // namespace
