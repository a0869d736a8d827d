#include "content/PageProgram.hpp"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>

#include <dlfcn.h>

namespace Tavola
{
namespace
{
constexpr int kLookMs = 20; ///< how often a request is looked at whether it is still wanted
constexpr qint64 kMostBytes = qint64(RenderedPage::kMostPixels) * RenderedPage::kMostPixels * 4 + 65536;

/// The program beside this library, or in the folder of programs beside its own; empty when it is missing.
QString program()
{
    Dl_info info = {};
    static const char mark = 0;
    if (::dladdr(&mark, &info) == 0 || !info.dli_fname)
        return {};
    const QDir folder = QFileInfo(QString::fromLocal8Bit(info.dli_fname)).absoluteDir();
    for (const char* place : {"tavola-pages", "../bin/tavola-pages", "../../bin/tavola-pages"}) {
        const QFileInfo found(folder.filePath(QLatin1String(place)));
        if (found.isExecutable())
            return found.canonicalFilePath();
    }
    return {};
}

RenderedPage failed(const QString& why)
{
    RenderedPage page;
    page.error = why;
    return page;
}
}

RenderedPage renderPage(const PageRequest& request, const PageLimits& limits, const std::function<bool()>& isGivenUp)
{
    static const QString path = program();
    if (path.isEmpty())
        return failed(QStringLiteral("the program tavola-pages is missing: install it beside the table's"));
    QProcess process;
    process.setProgram(path);
    process.setArguments(
        {request.path, QString::number(request.page), QString::number(request.widthPx), QString::number(limits.megabytes)});
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted())
        return failed(QStringLiteral("the program tavola-pages cannot be started (%1)").arg(process.errorString()));
    QElapsedTimer timer;
    timer.start();
    QByteArray answer;
    while (process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(kLookMs);
        answer += process.readAllStandardOutput();
        const bool isLate = double(timer.elapsed()) > limits.seconds * 1000.0;
        if (isLate || isGivenUp() || answer.size() > kMostBytes) {
            process.kill();
            process.waitForFinished();
            return failed(QStringLiteral("page %1 takes more than %2 s to draw: make it simpler")
                              .arg(request.page + 1)
                              .arg(limits.seconds));
        }
    }
    answer += process.readAllStandardOutput();
    RenderedPage page;
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 || !page.readBytes(answer))
        return failed(QStringLiteral("page %1 is damaged, or needs more than %2 MB: make its pictures smaller")
                          .arg(request.page + 1)
                          .arg(limits.megabytes));
    return page;
}
}
