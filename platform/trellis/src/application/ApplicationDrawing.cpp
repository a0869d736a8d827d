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

int Application::pendingImages() const
{
    return ImageLoader::instance().pending();
}
}
