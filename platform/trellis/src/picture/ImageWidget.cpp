#include <Trellis/ImageWidget.hpp>

#include "picture/ImagePrivate.hpp"
#include "tree/WidgetRecords.hpp"

#include <Bedrock/LocalPath.hpp>
#include <Lantern/RenderContext.hpp>

#include <algorithm>
#include <cmath>

namespace Trellis
{
namespace
{
const Facet::AttributeT<Fit>::Names kFits{
    {QStringLiteral("contain"), Fit::Contain}, {QStringLiteral("cover"), Fit::Cover}, {QStringLiteral("stretch"), Fit::Stretch}};
const Facet::EventName kImageLoaded("image-loaded");
const Facet::EventName kImageFailed("image-failed");

const QByteArray kFailed("failed");
}

ImageWidget::ImagePrivate::ImagePrivate(ImageWidget* widget)
    : source(widget, QByteArrayLiteral("source")), fit(widget, QByteArrayLiteral("fit"), kFits, Fit::Contain), host(*widget)
{
}

ImageWidget::ImageWidget(Widget* parent) : Widget(parent), d(std::make_unique<ImagePrivate>(this))
{
    setCSSType(QByteArrayLiteral("ImageWidget"));
    eventAddOut(kImageLoaded);
    eventAddOut(kImageFailed);
}

ImageWidget::~ImageWidget() = default;

QString ImageWidget::source() const
{
    return d->source.value();
}

bool ImageWidget::hasFailed() const
{
    return hasPseudoClass(kFailed);
}

bool ImageWidget::isLoaded() const
{
    return !d->image.isNull();
}

QImage ImageWidget::image() const
{
    return d->image;
}

void ImageWidget::load(const QString& path, int blockingType)
{
    const bool isAnotherTry = path == source() && !isLoaded() && !d->isLoading;
    d->source.setValue(path);
    if (path.isEmpty() || isLoaded())
        return;
    if (blockingType != kBlocking) {
        if (isAnotherTry)
            d->sourceChanged();
        return;
    }
    d->scheduled.reset();
    ++d->generation;
    d->wanted = d->sizeShown();
    d->isRequested = true;
    d->show(ImageLoader::instance().readNow({Bedrock::localPath(path), d->wanted}));
}

void ImageWidget::attributeChanged(Facet::Attribute& attribute)
{
    Widget::attributeChanged(attribute);
    if (&attribute == &d->source) {
        d->sourceChanged();
    } else if (&attribute == &d->fit) {
        requestRedraw();
        if (!d->source.value().isEmpty())
            d->schedule();
    }
}

// ---- Loading ---------------------------------------------------------------------------------------------------------

void ImageWidget::ImagePrivate::sourceChanged()
{
    ++generation;
    isRequested = isLoading = false;
    host.setPseudoClass(kFailed, false);
    if (!image.isNull()) {
        image = {};
        fullSize = {};
        host.requestLayout();
    }
    host.requestRedraw();
    if (source.value().isEmpty())
        scheduled.reset();
    else
        schedule();
}

void ImageWidget::ImagePrivate::schedule()
{
    if (scheduled)
        return;
    scheduled = ImageLoader::instance().announce();
    Facet::Node::invokeAfterUpdate([weak = Bedrock::IntrusiveWeakPtr<ImageWidget>(&host), token = scheduled] {
        const auto widget = weak.lock();
        // Another token, or none, means that the wish was dropped meanwhile.
        if (widget && widget->d->scheduled == token)
            widget->d->request();
    });
}

ImageSize ImageWidget::ImagePrivate::sizeShown() const
{
    if (isTiled)
        return {};
    const Vecta::Transform toScene = host.transformToScene();
    const float scale = std::hypot(toScene.m11, toScene.m21);
    const Vecta::Rect box = host.contentBox();
    const auto side = fit.value() == Fit::Contain ? ImageSize::Side::Longest : ImageSize::Side::Shortest;
    return ImageSize::forBox(box.width * scale, box.height * scale, side);
}

void ImageWidget::ImagePrivate::request()
{
    scheduled.reset();
    ImageSize size = sizeShown();
    if (isRequested && size == wanted)
        return;
    if (isRequested && wanted.edgePx > 0 && size.edgePx > wanted.edgePx)
        size = size.withRoomToGrow();
    wanted = size;
    isRequested = isLoading = true;
    ++generation;
    const auto done = [weak = Bedrock::IntrusiveWeakPtr<ImageWidget>(&host),
                       wantedBy = generation](const ImageLoader::Picture& picture) {
        const auto widget = weak.lock();
        if (widget && widget->d->generation == wantedBy)
            widget->d->show(picture);
    };
    if (const auto* known = ImageLoader::instance().request({Bedrock::localPath(source.value()), size}, done))
        show(*known);
}

void ImageWidget::ImagePrivate::show(const ImageLoader::Picture& picture)
{
    isLoading = false;
    const QSize before = fullSize;
    image = picture.image;
    fullSize = image.isNull() ? QSize() : picture.fullSize;
    if (fullSize != before)
        host.requestLayout();
    host.requestRedraw();
    pattern = {};
    host.setPseudoClass(kFailed, image.isNull());
    host.eventSend(image.isNull() ? kImageFailed : kImageLoaded);
}

// ---- Size and look ---------------------------------------------------------------------------------------------------

Vecta::Vector2f ImageWidget::contentSize(float availableWidth) const
{
    if (d->fullSize.isEmpty())
        return {};
    const float proportion = float(d->fullSize.height()) / float(d->fullSize.width());
    // Where the height is given, the width follows it; where the width is (the available one is then exactly it), the height.
    const Length& height = WidgetRecords::of(*this).layout.height.value();
    if (height.unit == Length::Unit::Pixels)
        return {height.value / proportion, height.value};
    return {std::min(float(d->fullSize.width()), availableWidth), availableWidth * proportion};
}

void ImageWidget::renderContent(Lantern::RenderContext& context) const
{
    Widget::renderContent(context);
    if (d->image.isNull())
        return;
    const Vecta::Rect box = contentBox();
    if (box.isEmpty())
        return;
    const float imageWidth = float(d->image.width());
    const float imageHeight = float(d->image.height());
    Vecta::Rect target = box;
    Vecta::Rect source;
    if (d->fit.value() == Fit::Contain) {
        target = box.fitting({imageWidth, imageHeight});
    } else if (d->fit.value() == Fit::Cover) {
        const float scale = std::max(box.width / imageWidth, box.height / imageHeight);
        source.width = box.width / scale;
        source.height = box.height / scale;
        source.x = (imageWidth - source.width) / 2.f;
        source.y = (imageHeight - source.height) / 2.f;
    }
    context.drawImage(d->image, target, source, cornerRadii());
}

void ImageWidget::sceneSizeChanged()
{
    // Shown much larger than it was asked for: a larger one is fetched. A smaller one would look no better.
    const int edgePx = d->wanted.edgePx > 0 ? d->wanted.edgePx : kLargestUnknownPx;
    if (d->isRequested && !d->scheduled && !d->isLoading && d->image.width() < d->fullSize.width()
        && d->sizeShown().edgePx > edgePx)
        d->schedule();
}
}
