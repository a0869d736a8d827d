#include "Log.hpp"

#include <QByteArray>
#include <QtGlobal>

#include <cstdio>

namespace MediaServer
{

namespace
{

QString line(const QString& what, const QString& detail)
{
    return detail.isEmpty() ? QStringLiteral("MediaServer # %1").arg(what)
                            : QStringLiteral("MediaServer # %1 (%2)").arg(what, detail);
}

const char* levelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
    case QtInfoMsg: return "info ";
    case QtWarningMsg: return "warning ";
    case QtCriticalMsg:
    case QtFatalMsg: break;
    }
    return "error ";
}

} // namespace

QByteArray logLine(QtMsgType type, const QString& text)
{
    QByteArray bytes = text.toUtf8();
    bytes.replace('\n', "\\n").replace('\r', "\\r");
    return levelName(type) + bytes + '\n';
}

void writeToStandardError(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    const QByteArray whole = logLine(type, text);
    std::fwrite(whole.constData(), 1, static_cast<std::size_t>(whole.size()), stderr);
}

void logInfo(const QString& what, const QString& detail)
{
    qInfo("%s", line(what, detail).toUtf8().constData());
}

void logWarning(const QString& what, const QString& detail)
{
    qWarning("%s", line(what, detail).toUtf8().constData());
}

void RareWarning::log(const QString& what, const QString& detail, Clock::time_point now)
{
    if (m_loggedAt && now - *m_loggedAt < kPause)
        return;
    m_loggedAt = now;
    logWarning(what, detail);
}

} // namespace MediaServer
