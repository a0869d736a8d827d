#pragma once

#include <Trellis/Widget.hpp>

#include <memory>

namespace Tavola
{
/// A PDF document whose pages visitors turn: a tap on the right half shows the next page, one on the left half the one before.
/// CSS type "DocumentWidget". May be moved, turned and scaled unless a style says otherwise. Main thread only.
///
/// Attributes: "source" (the PDF file), "cover" (a picture that shows until the first page is there), "page" (1: the page that
/// shows), "display-name". A width or height that is auto follows the page's proportions.
///
/// Pages are rendered off the main thread at the size they are shown. Children: class "document-cover" (a picture),
/// "document-page" (the words "2 / 12", where there are several pages), "document-note" (what shows when the file cannot be
/// shown: one warning, and the pseudo-class "failed"). Event: "page-loaded", each time a page was rendered.
class TAVOLA_EXPORT DocumentWidget final : public Trellis::Widget
{
public:
    explicit DocumentWidget(Trellis::Widget* parent = nullptr);
    ~DocumentWidget() override;

    /// The page to be shown, from 1; the first or the last one for a page that the document does not have.
    [[nodiscard]] int page() const;
    void setPage(int page);
    /// 0 until the document was opened.
    [[nodiscard]] int pageCount() const;
    /// Whether `page` was rendered and shows.
    [[nodiscard]] bool isLoaded() const;

    void renderContent(Lantern::RenderContext& context) const override;
    void sceneSizeChanged() override;

protected:
    [[nodiscard]] Vecta::Vector2f contentSize(float availableWidth) const override;
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    struct DocumentPrivate;
    std::unique_ptr<DocumentPrivate> d;
};
}
