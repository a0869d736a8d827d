#include "content/PdfPages.hpp"

#include <Bedrock/DecodedFiles.hpp>

#include <utility>

namespace Tavola
{
namespace
{
/// As renderPage; a page that Bedrock::DecodedFiles keeps is not rendered, and one that was rendered is kept there.
RenderedPage renderKeptPage(const PageRequest& wanted, const PageLimits& limits, const std::function<bool()>& isGivenUp)
{
    const auto kept = Bedrock::DecodedFiles::shared();
    const auto source = kept
        ? kept->source(wanted.path, "page " + QByteArray::number(wanted.page) + ' ' + QByteArray::number(wanted.widthPx))
        : std::nullopt;
    if (!source)
        return renderPage(wanted, limits, isGivenUp);
    RenderedPage page;
    if (const auto bytes = kept->find(*source); bytes && page.readBytes(bytes->view()))
        return page;
    page = renderPage(wanted, limits, isGivenUp);
    // What a page lacks may be there the next time, such as a font that the remark asks for.
    if (!page.image.isNull() && page.remark.isEmpty())
        kept->keep(*source, page.toBytes());
    return page;
}
}

PdfPages::PdfPages(const PageLimits& limits) : m_limits(limits) {}

PdfPages::~PdfPages()
{
    m_stopping = true; // which ends the process at work
}

PdfPages::Cancel PdfPages::request(const Request& wanted, Done done)
{
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    m_thread.run(
        'p',
        [this, wanted, done = std::move(done), weak = std::weak_ptr<std::atomic<bool>>(cancelled)]() -> std::function<void()> {
            const auto isGivenUp = [this, &weak] {
                const auto asked = weak.lock();
                return !asked || *asked || m_stopping;
            };
            if (isGivenUp())
                return nullptr;
            Outcome outcome = renderKeptPage(wanted, m_limits, isGivenUp);
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
}
