#include "application/ApplicationPrivate.hpp"
#include "drawing/ScenePainter.hpp"
#include "picture/ImageLoader.hpp"

#include <Lantern/ImageTarget.hpp>
#include <Lantern/RenderContext.hpp>

#include <QRegion>

#include <algorithm>
#include <cmath>

namespace Trellis
{
void Application::render(Lantern::RenderContext& context)
{
    // A picture is kept of what was there at the last account.
    d->layout.bringUpToDate(*d->mainLayer);
    d->damage.collect();
    ScenePainter::paint(*d->mainLayer, context);
}

QImage Application::renderToImage()
{
    Lantern::ImageTarget target(QSize(int(std::ceil(d->sizePx.x)), int(std::ceil(d->sizePx.y))));
    target.paint(QRect(QPoint(), target.size()), [this](Lantern::RenderContext& context) { render(context); });
    return target.image();
}

QImage Application::renderWidgetToImage(const Widget& widget, int maxSizePx)
{
    const Vecta::Vector2f size = widget.size();
    d->layout.bringUpToDate(*d->mainLayer);
    d->damage.collect();
    const float longest = std::max(size.x, size.y);
    if (size.x <= 0.f || size.y <= 0.f || maxSizePx <= 0)
        return {};
    const float factor = std::min(1.f, float(maxSizePx) / longest);
    const auto pixels = [factor](float length) { return std::max(1, int(std::lround(length * factor))); };
    Lantern::ImageTarget target(QSize(pixels(size.x), pixels(size.y)), Lantern::ImageTarget::Ground::Transparent);
    target.paint(QRect(QPoint(), target.size()), [&](Lantern::RenderContext& context) {
        context.pushTransform(Vecta::Transform::scaling(factor));
        ScenePainter::paintUpright(widget, context);
        context.pop();
    });
    return target.image();
}

void Application::keepPicturesOf(Widget& parent)
{
    LayerKeeper::keepChildrenOf(parent);
}

void Application::setScreenScale(Vecta::Vector2f scale)
{
    if (!(scale.x > 0.f && scale.y > 0.f) || !std::isfinite(scale.x + scale.y) || scale == d->scale)
        return;
    d->scale = scale;
    LayerKeeper::screenChanged(*d->mainLayer);
}

void Application::setPictureBudget(std::size_t bytes)
{
    d->layers.store().setBudgetBytes(bytes);
}

Application::KeptPictures Application::keptPictures() const noexcept
{
    const Lantern::PictureStore& store = d->layers.store();
    return {store.count(), store.usedBytes() + Lantern::PictureStore::surfaceBytes(), store.budgetBytes()};
}

int Application::pendingImages() const
{
    return ImageLoader::instance().pending();
}
}
