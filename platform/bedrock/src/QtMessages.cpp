#include "Bedrock/QtMessages.hpp"

#include "Bedrock/Trace.hpp"

#include <QByteArray>
#include <QString>

namespace Bedrock
{
namespace
{
void log(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    const QByteArray line = text.toUtf8();
    switch (type) {
    case QtDebugMsg:
    case QtInfoMsg: Trace::info("%s", line.constData()); return;
    case QtWarningMsg: Trace::warning("%s", line.constData()); return;
    case QtCriticalMsg:
    case QtFatalMsg: break;
    }
    Trace::error("%s", line.constData());
}
}

QtMessages::QtMessages() : m_before(qInstallMessageHandler(log)) {}

QtMessages::~QtMessages()
{
    qInstallMessageHandler(m_before);
}
}
