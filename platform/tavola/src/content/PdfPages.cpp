#include "content/PdfPages.hpp"

#include <utility>

namespace Tavola
{
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
            Outcome outcome = renderPage(wanted, m_limits, isGivenUp);
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
