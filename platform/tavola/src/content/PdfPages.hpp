#pragma once

#include "content/PageProgram.hpp"

#include <Bedrock/WorkerPool.hpp>

#include <QSet>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>

namespace Tavola
{
/// Renders pages of PDF files, one at a time and in the order of the requests, each in a process of its own (PageProgram.hpp).
/// Owned by the application; main thread only.
class PdfPages
{
public:
    static constexpr int kMostPixels = RenderedPage::kMostPixels; ///< of a page's longer side

    using Request = PageRequest;
    using Outcome = RenderedPage;
    using Done = std::function<void(const Outcome&)>;
    /// Kept by the caller of `request`. Destroying it or setting it to true withdraws the request: `done` is not called.
    using Cancel = std::shared_ptr<std::atomic<bool>>;

    explicit PdfPages(const PageLimits& limits = {});
    ~PdfPages();
    PdfPages(const PdfPages&) = delete;
    PdfPages& operator=(const PdfPages&) = delete;

    /// `done` is called in the input step of a later frame.
    [[nodiscard]] Cancel request(const Request& request, Done done);
    /// Whether this is the first failure of that kind, which is worth a warning.
    [[nodiscard]] bool isFirstFailure(const QString& text);

private:
    PageLimits m_limits;
    std::atomic<bool> m_stopping{false};
    QSet<QString> m_failures;
    Bedrock::WorkerPool m_thread{1}; ///< last member: its thread ends first
};
}
