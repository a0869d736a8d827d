#include <Lantern/WindowTarget.hpp>

#include <Lantern/PainterContext.hpp>

#include "EventWindow.hpp"
#include "WindowSurface.hpp"

#include <Bedrock/Trace.hpp>

#include <QGuiApplication>
#include <QRegion>
#include <QScreen>

namespace Lantern
{
struct WindowTarget::Private
{
    std::unique_ptr<EventWindow> window;
    std::unique_ptr<WindowSurface> surface; ///< goes before its window
    WindowOptions::Drawing drawing = WindowOptions::Drawing::Raster;

    void makeWindow(const WindowOptions& options, WindowListener* listener, QSurface::SurfaceType type)
    {
        surface.reset();
        window = std::make_unique<EventWindow>(listener);
        window->setSurfaceType(type);
        window->setTitle(options.title);
        if (options.isFullScreen && QGuiApplication::primaryScreen())
            window->setGeometry(QGuiApplication::primaryScreen()->geometry());
        else
            window->resize(options.size);
        window->create();
    }
};

WindowTarget::WindowTarget(const WindowOptions& options, WindowListener* listener) : d(std::make_unique<Private>())
{
    if (options.drawing == WindowOptions::Drawing::OpenGl) {
        d->makeWindow(options, listener, QSurface::OpenGLSurface);
        d->surface = makeGlSurface(*d->window);
        if (d->surface)
            d->drawing = WindowOptions::Drawing::OpenGl;
        else
            Bedrock::Trace::info("WindowTarget # No OpenGL context can be made, drawing without it");
    }
    if (!d->surface) {
        d->makeWindow(options, listener, QSurface::RasterSurface);
        d->surface = makeRasterSurface(*d->window);
    }
    if (options.isFullScreen)
        d->window->showFullScreen();
    else
        d->window->show();
}

WindowTarget::~WindowTarget() = default;

QSize WindowTarget::size() const
{
    return d->window->size();
}

WindowOptions::Drawing WindowTarget::drawing() const noexcept
{
    return d->drawing;
}

QWindow& WindowTarget::window() const noexcept
{
    return *d->window;
}

void WindowTarget::paint(const QRegion& damage, const std::function<void(RenderContext&)>& draw)
{
    const QRegion area = damage.intersected(QRect(QPoint(0, 0), size()));
    if (area.isEmpty() || !d->window->isExposed())
        return;
    const float ratio = float(d->window->devicePixelRatio());
    d->surface->paint(area, [&](PainterContext& context) {
        context.clear(Qt::black);
        context.pushTransform(Vecta::Transform::scaling(ratio));
        draw(context);
        context.pop();
    });
}
}
