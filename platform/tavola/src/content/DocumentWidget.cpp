#include <Tavola/DocumentWidget.hpp>

#include "content/PdfPages.hpp"
#include "shared/AttributeDefaults.hpp"
#include "shared/TableGeometry.hpp"

#include <Bedrock/LocalPath.hpp>
#include <Bedrock/Trace.hpp>
#include <Lantern/RenderContext.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/Length.hpp>
#include <Trellis/TextWidget.hpp>

#include <algorithm>
#include <cmath>

namespace Tavola
{
namespace
{
const Facet::EventName kPageLoaded("page-loaded");
/// Height by width of a sheet of paper, used until the page's size is known.
constexpr float kPaperProportion = 297.f / 210.f;
/// Widths are requested in steps of that many pixels, so that a small change of size requests nothing.
constexpr int kStepPx = 128;
}

struct DocumentWidget::DocumentPrivate
{
    explicit DocumentPrivate(DocumentWidget& widget)
        : host(widget), height(static_cast<const Facet::AttributeT<Trellis::Length>&>(*widget.attribute("height")))
    {
    }

    DocumentWidget& host;
    const Facet::AttributeT<Trellis::Length>& height; ///< the widget's
    Facet::AttributeT<QString> source{&host, "source"};
    Facet::AttributeT<QString> coverFile{&host, "cover"};
    Facet::AttributeT<QString> displayName{&host, "display-name"};
    Facet::AttributeT<int> page{&host, "page", 1};
    Bedrock::IntrusivePtr<Trellis::ImageWidget> cover;
    Bedrock::IntrusivePtr<Trellis::TextWidget> pageText;
    Bedrock::IntrusivePtr<Trellis::TextWidget> note;

    QImage image;    ///< of the page `shownPage`
    QSizeF pageSize; ///< points; empty until a page is there
    int pageCount = 0;
    int shownPage = 0;  ///< from 1
    int renderedPx = 0; ///< the width requested last
    bool isScheduled = false;
    PdfPages::Cancel asked; ///< while a request is under way

    [[nodiscard]] int wantedPage() const
    {
        const int wanted = std::max(1, page.value());
        return pageCount > 0 ? std::min(wanted, pageCount) : wanted;
    }
    [[nodiscard]] int wantedPx() const;
    void sourceChanged();
    void schedule();
    void request();
    void answered(const PdfPages::Outcome& outcome);
    void showPageText();
};

DocumentWidget::DocumentWidget(Trellis::Widget* parent) : Trellis::Widget(parent), d(std::make_unique<DocumentPrivate>(*this))
{
    setFreeByDefault(*this);
    setDefault(*this, "background-color", "#ffffff");
    d->cover = Bedrock::makeIntrusive<Trellis::ImageWidget>(this);
    d->cover->addCSSClass("document-cover");
    setDefault(*d->cover, "width", "100%");

    d->pageText = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
    d->pageText->addCSSClass("document-page");
    d->note = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
    d->note->addCSSClass("document-note");
    for (const auto& text : {d->pageText, d->note})
        setDefaults(*text, {{"position", "absolute"}, {"text-align", "center"}, {"font-size", "14"}});
    // Legible over any page.
    setDefaults(*d->pageText,
                {{"left", "36%"},
                 {"width", "28%"},
                 {"bottom", "10"},
                 {"padding", "2"},
                 {"color", "#ffffff"},
                 {"background-color", "#1c2733b0"},
                 {"border-radius", "10"}});
    setDefaults(*d->note, {{"left", "0"}, {"width", "100%"}, {"top", "40%"}, {"padding", "12"}, {"color", "#4a5866"}});
    d->note->textAttribute().setValue(QStringLiteral("This document cannot be shown."), Facet::kDefaultLayer);
    for (const Bedrock::IntrusivePtr<Trellis::Widget>& inside :
         {Bedrock::IntrusivePtr<Trellis::Widget>(d->cover), Bedrock::IntrusivePtr<Trellis::Widget>(d->pageText),
          Bedrock::IntrusivePtr<Trellis::Widget>(d->note)}) {
        inside->setInputEnabled(false); // a finger on it is a finger on the page
        setShown(*inside, false);
    }
    eventAddOut(kPageLoaded);
    setCSSType("DocumentWidget");
    eventAddListenerBd("single-tap", [this](Bedrock::BinaryData& place) {
        const bool onward = place.readFloat32() >= width() / 2.f;
        setPage(d->wantedPage() + (onward ? 1 : -1));
    });
}

DocumentWidget::~DocumentWidget() = default;

int DocumentWidget::page() const
{
    return d->wantedPage();
}

void DocumentWidget::setPage(int page)
{
    d->page.setValue(std::max(1, d->pageCount > 0 ? std::min(page, d->pageCount) : page));
}

int DocumentWidget::pageCount() const
{
    return d->pageCount;
}

bool DocumentWidget::isLoaded() const
{
    return !d->image.isNull() && d->shownPage == d->wantedPage();
}

void DocumentWidget::attributeChanged(Facet::Attribute& attribute)
{
    Widget::attributeChanged(attribute);
    if (!d || !d->note)
        return;
    if (&attribute == &d->source) {
        d->sourceChanged();
    } else if (&attribute == &d->coverFile) {
        d->cover->load(Bedrock::localPath(d->coverFile.value()));
        setShown(*d->cover, !d->coverFile.value().isEmpty() && d->image.isNull());
        requestLayout();
    } else if (&attribute == &d->page) {
        d->showPageText();
        d->schedule();
    }
}

// ---- Loading ---------------------------------------------------------------------------------------------------------

void DocumentWidget::DocumentPrivate::sourceChanged()
{
    asked.reset();
    image = QImage();
    pageSize = QSizeF();
    pageCount = shownPage = renderedPx = 0;
    setShown(*cover, !coverFile.value().isEmpty());
    setShown(*note, false);
    host.setPseudoClass("failed", false);
    showPageText();
    host.requestLayout();
    host.requestRedraw();
    schedule();
}

void DocumentWidget::DocumentPrivate::schedule()
{
    if (isScheduled || source.value().isEmpty())
        return;
    isScheduled = true;
    Facet::Node::invokeAfterUpdate([weak = Bedrock::IntrusiveWeakPtr<DocumentWidget>(&host)] {
        if (const auto widget = weak.lock())
            widget->d->request();
    });
}

void DocumentWidget::DocumentPrivate::request()
{
    isScheduled = false;
    const auto application = Tavola::instance();
    if (!application || source.value().isEmpty())
        return;
    const int px = wantedPx();
    if (!asked && shownPage == wantedPage() && px <= renderedPx)
        return;
    renderedPx = px;
    asked = application->part<PdfPages>().request(
        {Bedrock::localPath(source.value()), wantedPage() - 1, px},
        [weak = Bedrock::IntrusiveWeakPtr<DocumentWidget>(&host)](const PdfPages::Outcome& outcome) {
            if (const auto widget = weak.lock())
                widget->d->answered(outcome);
        });
}

void DocumentWidget::DocumentPrivate::answered(const PdfPages::Outcome& outcome)
{
    asked.reset();
    pageCount = outcome.pageCount;
    shownPage = outcome.page + 1;
    if (outcome.pageSize != pageSize)
        host.requestLayout();
    host.requestRedraw();
    image = outcome.image;
    const bool hasFailed = image.isNull();
    setShown(*note, hasFailed);
    host.setPseudoClass("failed", hasFailed);
    const QString fault = hasFailed ? outcome.error : outcome.remark;
    const QString told = QStringLiteral("%1: %2").arg(source.value(), fault);
    const auto application = Tavola::instance();
    if (!fault.isEmpty() && application && application->part<PdfPages>().isFirstFailure(told)) {
        if (hasFailed)
            Bedrock::Trace::warning("DocumentWidget # Cannot show %s; a note stands in its place", qUtf8Printable(told));
        else
            Bedrock::Trace::warning("DocumentWidget # %s", qUtf8Printable(told));
    }
    if (hasFailed) {
        showPageText();
        return;
    }
    pageSize = outcome.pageSize;
    setShown(*cover, false);
    showPageText();
    host.eventSend(kPageLoaded);
}

void DocumentWidget::DocumentPrivate::showPageText()
{
    setShown(*pageText, pageCount > 1);
    if (pageCount > 1)
        pageText->setText(QStringLiteral("%1 / %2").arg(wantedPage()).arg(pageCount));
}

// ---- Size and drawing ------------------------------------------------------------------------------------------------

int DocumentWidget::DocumentPrivate::wantedPx() const
{
    const float px = std::clamp(host.contentBox().width * sceneScale(host), 1.f, float(PdfPages::kMostPixels));
    return (int(std::ceil(px)) + kStepPx - 1) / kStepPx * kStepPx;
}

Vecta::Vector2f DocumentWidget::contentSize(float availableWidth) const
{
    float proportion = kPaperProportion;
    if (!d->pageSize.isEmpty())
        proportion = float(d->pageSize.height() / d->pageSize.width());
    else if (!d->coverFile.value().isEmpty())
        return Widget::contentSize(availableWidth);
    const Trellis::Length& height = d->height.value();
    if (height.unit == Trellis::Length::Unit::Pixels)
        return {height.value / proportion, height.value};
    const float natural = d->pageSize.isEmpty() ? availableWidth : float(d->pageSize.width());
    return {std::min(natural, availableWidth), availableWidth * proportion};
}

void DocumentWidget::renderContent(Lantern::RenderContext& context) const
{
    Widget::renderContent(context);
    if (d->image.isNull())
        return;
    const Vecta::Rect box = contentBox();
    if (box.isEmpty())
        return;
    const Vecta::Rect target = box.fitting({float(d->image.width()), float(d->image.height())});
    context.drawImage(d->image, target, Vecta::Rect(), cornerRadii());
}

void DocumentWidget::sceneSizeChanged()
{
    // Shown much larger than it was rendered: a larger page is requested.
    if (!d->image.isNull() && !d->asked && d->wantedPx() > d->renderedPx)
        d->schedule();
}
}
