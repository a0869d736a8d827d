#include "content/PdfPages.hpp"

#include <QFile>
#include <QFileInfo>
#include <QVariant>

#include <algorithm>
#include <poppler-qt5.h>

namespace Tavola
{
namespace
{
struct Interest
{
    const std::atomic<bool>* cancelled;
    const std::atomic<bool>* stopping;
};

bool isGivenUp(const QVariant& payload)
{
    const auto* const interest = reinterpret_cast<const Interest*>(payload.value<quintptr>());
    return *interest->cancelled || *interest->stopping;
}

/// The widget that shows a file warns of its faults, once; the library's own messages are dropped.
void ignoreMessage(const QString& /*message*/, const QVariant& /*closure*/) {}
}

PdfPages::PdfPages()
{
    Poppler::setDebugErrorFunction(ignoreMessage, QVariant());
}

PdfPages::~PdfPages()
{
    m_stopping = true; // and the thread ends with the page it is at
}

PdfPages::Cancel PdfPages::request(const Request& wanted, Done done)
{
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    m_thread.run(
        'p',
        [this, wanted, done = std::move(done), weak = std::weak_ptr<std::atomic<bool>>(cancelled)]() -> std::function<void()> {
            Outcome outcome;
            {
                const auto asked = weak.lock();
                if (!asked || *asked || m_stopping)
                    return nullptr;
                outcome = render(wanted, *asked);
            }
            return [outcome = std::move(outcome), done, weak] {
                const auto asked = weak.lock();
                if (asked && !*asked)
                    done(outcome);
            };
        });
    return cancelled;
}

bool PdfPages::isFirstFailure(const QString& text)
{
    if (m_failures.contains(text))
        return false;
    m_failures.insert(text);
    return true;
}

PdfPages::Outcome PdfPages::render(const Request& request, const std::atomic<bool>& cancelled)
{
    Outcome outcome;
    const auto pages = document(request.path, outcome.error);
    if (!pages)
        return outcome;
    outcome.pageCount = pages->numPages();
    outcome.page = std::clamp(request.page, 0, outcome.pageCount - 1);
    const std::unique_ptr<Poppler::Page> page(pages->page(outcome.page));
    outcome.pageSize = page ? page->pageSizeF() : QSizeF();
    if (!(outcome.pageSize.width() > 0.0 && outcome.pageSize.height() > 0.0)) {
        outcome.error = QStringLiteral("page %1 is damaged").arg(outcome.page + 1);
        return outcome;
    }
    const double longest = std::max(outcome.pageSize.width(), outcome.pageSize.height());
    const double pixelsPerPoint = std::min(request.widthPx / outcome.pageSize.width(), kMostPixels / longest);
    const double dotsPerInch = 72.0 * pixelsPerPoint;
    const Interest interest{&cancelled, &m_stopping};
    outcome.image = page->renderToImage(dotsPerInch, dotsPerInch, -1, -1, -1, -1, Poppler::Page::Rotate0, nullptr, nullptr,
                                        isGivenUp, QVariant::fromValue(reinterpret_cast<quintptr>(&interest)));
    if (outcome.image.isNull())
        outcome.error = QStringLiteral("page %1 cannot be drawn").arg(outcome.page + 1);
    return outcome;
}

std::shared_ptr<Poppler::Document> PdfPages::document(const QString& path, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return nullptr;
    }
    const QDateTime modified = QFileInfo(path).lastModified();
    const auto known = std::find_if(m_open.begin(), m_open.end(), [&](const OpenFile& open) { return open.path == path; });
    if (known != m_open.end()) {
        if (known->modified == modified) {
            m_open.splice(m_open.begin(), m_open, known);
            return m_open.front().document;
        }
        m_open.erase(known);
    }
    std::shared_ptr<Poppler::Document> document(Poppler::Document::load(path));
    if (!document) {
        error = QStringLiteral("it is no PDF file, or is damaged");
    } else if (document->isLocked()) {
        error = QStringLiteral("it is protected by a password");
    } else if (document->numPages() <= 0) {
        error = QStringLiteral("it has no pages");
    } else {
        document->setRenderHint(Poppler::Document::Antialiasing);
        document->setRenderHint(Poppler::Document::TextAntialiasing);
        m_open.push_front({path, modified, document});
        if (m_open.size() > kOpenFiles)
            m_open.pop_back();
        return document;
    }
    return nullptr;
}
}
