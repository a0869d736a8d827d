#pragma once

#include <Bedrock/WorkerPool.hpp>

#include <QDateTime>
#include <QImage>
#include <QSet>
#include <QSizeF>
#include <QString>

#include <atomic>
#include <functional>
#include <list>
#include <memory>

namespace Poppler
{
class Document;
}

namespace Tavola
{
/// Renders pages of PDF files on one thread of its own; the files that were used last stay open. Requests are served in their
/// order. Owned by the application; main thread only.
class PdfPages
{
public:
    static constexpr int kMostPixels = 4096; ///< of a page's longer side
    static constexpr std::size_t kOpenFiles = 4;

    struct Request
    {
        QString path;
        int page = 0; ///< from 0; the last one where the document has fewer
        int widthPx = 0;
    };
    struct Outcome
    {
        QImage image; ///< null when the page cannot be shown
        QString error;
        QSizeF pageSize; ///< points
        int page = 0;
        int pageCount = 0;
    };
    using Done = std::function<void(const Outcome&)>;
    /// Kept by the caller of `request`. Destroying it or setting it to true withdraws the request: `done` is not called.
    using Cancel = std::shared_ptr<std::atomic<bool>>;

    PdfPages();
    ~PdfPages();
    PdfPages(const PdfPages&) = delete;
    PdfPages& operator=(const PdfPages&) = delete;

    /// `done` is called in the input step of a later frame.
    [[nodiscard]] Cancel request(const Request& request, Done done);
    /// Whether this is the first failure of that kind, which is worth a warning.
    [[nodiscard]] bool isFirstFailure(const QString& text);

private:
    struct OpenFile
    {
        QString path;
        QDateTime modified;
        std::shared_ptr<Poppler::Document> document;
    };

    Outcome render(const Request& request, const std::atomic<bool>& cancelled);
    std::shared_ptr<Poppler::Document> document(const QString& path, QString& error);

    std::list<OpenFile> m_open; ///< the last used first; belongs to the thread
    std::atomic<bool> m_stopping{false};
    QSet<QString> m_failures;
    Bedrock::WorkerPool m_thread{1}; ///< last member: its thread ends first
};
}
