#pragma once

#include <QByteArray>
#include <QImage>
#include <QSizeF>
#include <QString>

namespace Tavola
{
/// What a page of a document came to. Passed from the program that renders pages to the table as bytes.
struct RenderedPage
{
    static constexpr int kMostPixels = 4096; ///< of a page's longer side

    QImage image; ///< null when the page cannot be shown
    QString error;
    QString remark;  ///< what a page that is shown lacks, with the remedy; empty when it is whole
    QSizeF pageSize; ///< points
    int page = 0;
    int pageCount = 0;

    [[nodiscard]] QByteArray toBytes() const;
    /// False, and nothing is changed, for bytes that are no page. They are not trusted.
    [[nodiscard]] bool readBytes(const QByteArray& bytes);
};
}
