// Renders one page of a PDF file for the table:
//
//     tavola-pages FILE PAGE WIDTH MEGABYTES
//
// writes a RenderedPage to standard output. Documents come from anywhere, so they are read in a process that has little memory
// and ends with the table; the table ends it when it takes too long.

#include "content/RenderedPage.hpp"

#include <QFile>
#include <QString>
#include <QVariant>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <poppler-qt5.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

using Tavola::RenderedPage;

namespace
{
/// What the library's messages say of JPEG 2000 pictures, which it decodes as a whole and leaves out when it fails.
struct Pictures
{
    bool areLeftOut = false;
    bool areTooLarge = false;
};

Pictures& pictures()
{
    static Pictures instance;
    return instance;
}

/// The widget that shows a file warns of its faults; the library's own messages are not printed.
void readMessage(const QString& message, const QVariant& /*closure*/)
{
    if (message.contains(QLatin1String("opening JPX Stream.")))
        pictures().areLeftOut = true;
    else if (message.contains(QLatin1String("exceeds system limits")) || message.contains(QLatin1String("memory")))
        pictures().areTooLarge = true;
}

/// Empty when nothing is missing on the page.
QString remarkOn(int page, const char* megabytes)
{
    if (!pictures().areLeftOut)
        return {};
    if (!pictures().areTooLarge)
        return QStringLiteral("page %1 is shown without a JPEG 2000 picture that is damaged; save the document anew")
            .arg(page + 1);
    return QStringLiteral(
               "page %1 is shown without a JPEG 2000 picture that needs more than the limit of %2 MB to decode; make it "
               "smaller, or save it as JPEG")
        .arg(page + 1)
        .arg(QString::fromLatin1(megabytes));
}

void limit(__rlimit_resource resource, rlim_t most)
{
    const rlimit limits = {most, most};
    static_cast<void>(::setrlimit(resource, &limits));
}

RenderedPage render(const QString& path, int wanted, int widthPx)
{
    RenderedPage result;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        result.error = file.errorString();
        return result;
    }
    const std::unique_ptr<Poppler::Document> document(Poppler::Document::load(path));
    if (!document)
        result.error = QStringLiteral("it is no PDF file, or is damaged");
    else if (document->isLocked())
        result.error = QStringLiteral("it is protected by a password");
    else if (document->numPages() <= 0)
        result.error = QStringLiteral("it has no pages");
    if (!result.error.isEmpty())
        return result;
    document->setRenderHint(Poppler::Document::Antialiasing);
    document->setRenderHint(Poppler::Document::TextAntialiasing);
    result.pageCount = document->numPages();
    result.page = std::clamp(wanted, 0, result.pageCount - 1);
    const std::unique_ptr<Poppler::Page> page(document->page(result.page));
    result.pageSize = page ? page->pageSizeF() : QSizeF();
    if (!(result.pageSize.width() > 0.0 && result.pageSize.height() > 0.0)) {
        result.error = QStringLiteral("page %1 is damaged").arg(result.page + 1);
        return result;
    }
    const double longest = std::max(result.pageSize.width(), result.pageSize.height());
    const double pixelsPerPoint = std::min(widthPx / result.pageSize.width(), RenderedPage::kMostPixels / longest);
    const double dotsPerInch = 72.0 * pixelsPerPoint;
    result.image = page->renderToImage(dotsPerInch, dotsPerInch);
    if (result.image.isNull())
        result.error = QStringLiteral("page %1 cannot be drawn").arg(result.page + 1);
    return result;
}
}

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fputs("tavola-pages renders pages of documents for tavola; it is not to be started by hand\n", stderr);
        return 2;
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_FSIZE, 0);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // these reserve terabytes
    limit(RLIMIT_AS, rlim_t(std::max(64, std::atoi(argv[4]))) << 20);
#endif
    Poppler::setDebugErrorFunction(readMessage, QVariant());
    RenderedPage page = render(QString::fromLocal8Bit(argv[1]), std::atoi(argv[2]), std::atoi(argv[3]));
    page.remark = remarkOn(page.page, argv[4]);
    const QByteArray answer = page.toBytes();
    const bool isWritten = std::fwrite(answer.constData(), 1, std::size_t(answer.size()), stdout) == std::size_t(answer.size())
        && std::fflush(stdout) == 0;
    ::_exit(isWritten ? 0 : 1); // the system frees what the libraries keep
}
