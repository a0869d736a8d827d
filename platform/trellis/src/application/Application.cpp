#include <Trellis/Application.hpp>

#include "application/ApplicationPrivate.hpp"
#include "picture/ImageLoader.hpp"
#include "text/TextBlock.hpp"
#include "tree/FrameGuard.hpp"
#include "tree/WidgetRecords.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/FlagGuard.hpp>
#include <Bedrock/Inbox.hpp>
#include <Cascara/StyleEngine.hpp>
#include <Lantern/PaintingThreads.hpp>
#include <Trellis/FrameInfo.hpp>

#include <QCoreApplication>
#include <QEvent>
#include <QRegion>

#include <algorithm>
#include <cassert>
#include <cmath>

namespace Trellis
{
namespace
{
Application* theApplication = nullptr;
}

Application::Application(Vecta::Vector2f sizePx) : d(std::make_unique<Private>(*this, sizePx))
{
    assert(!theApplication && "there is one application");
    theApplication = this;
    d->install();
    Widget& root = *d->mainLayer;
    root.setCSSId(QByteArrayLiteral("main-layer"));
    root.setPseudoClass(QByteArrayLiteral("root"), true);
    root.setSize(sizePx);
    WidgetRecords::of(root).input.inputTransparent.setValue(true, Facet::kDefaultLayer);
    WidgetRecords::enterTree(root);
    d->damage.setScene({0.f, 0.f, sizePx.x, sizePx.y});
    d->bindFonts();
    Cascara::StyleEngine::instance().setFontFaceListener([this] { d->bindFonts(); });
}

Application::~Application()
{
    Cascara::StyleEngine::instance().setFontFaceListener({});
    d->input.fingers().dragging().setObserver(nullptr);
    WidgetRecords::leaveTree(*d->mainLayer);
    destroyRemovedWidgets();
    ImageLoader::instance().shutDown();
    d->retire();
    theApplication = nullptr;
}

Application* Application::instance() noexcept
{
    return theApplication;
}

Bedrock::IntrusivePtr<Widget> Application::mainLayer() const
{
    return d->mainLayer;
}

GrabManager* Application::grabManager() const noexcept
{
    return &d->input.grabManager();
}

Vecta::Vector2f Application::size() const noexcept
{
    return d->sizePx;
}

void Application::resize(Vecta::Vector2f sizePx)
{
    d->sizePx = sizePx;
    d->mainLayer->setSize(sizePx);
    d->damage.setScene({0.f, 0.f, sizePx.x, sizePx.y});
}

void Application::addInputSource(Tactile::InputSource& source)
{
    d->input.addSource(source);
}

void Application::removeInputSource(Tactile::InputSource& source)
{
    d->input.removeSource(source);
}

void Application::setDragObserver(DragObserver* observer)
{
    d->input.fingers().dragging().setObserver(observer);
}

void Application::setTapLimits(float distancePx, double seconds)
{
    d->input.fingers().setTapLimits(distancePx, seconds);
}

// ---- One frame -------------------------------------------------------------------------------------------------------

void Application::frame(double dtSeconds)
{
    // Qt's events may include the timer that asks for the next frame: the one that is under way serves it.
    if (d->inFrame)
        return;
    const Bedrock::FlagGuard inFrame(d->inFrame);
    const double dt = std::isfinite(dtSeconds) ? std::max(0.0, dtSeconds) : 0.0;
    if (QCoreApplication::instance()) {
        QCoreApplication::processEvents();
        // Outside a running event loop Qt does not deliver these.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    d->timeSeconds += dt;
    ++d->frameNumber;

    Bedrock::Inbox::instance().deliver();
    d->input.run(d->timeSeconds, dt);
    Cascara::StyleEngine::instance().advance(dt);
    d->updater.run(FrameInfo(float(dt), d->timeSeconds, d->frameNumber));
    Bedrock::AfterUpdateQueue::instance().drain();
    if (auto* threads = Lantern::PaintingThreads::current())
        threads->prepare();
    // What was made since the frame before has all its attributes by now.
    guardedInFrame("The styling", [] { Cascara::StyleEngine::instance().finishStyling(); });
    guardedInFrame("The layout", [&] {
        d->layout.bringUpToDate(*d->mainLayer);
        destroyRemovedWidgets();
        Cascara::StyleEngine::instance().beginAnimations();
        // Listeners to positions and destructors may have changed something again, and animations have begun.
        d->layout.bringUpToDate(*d->mainLayer);
    });
    d->damage.keepPictures();
    d->damage.collect();
}

double Application::time() const noexcept
{
    return d->timeSeconds;
}

long Application::frameNumber() const noexcept
{
    return d->frameNumber;
}

Application::Counters Application::counters() const noexcept
{
    return {d->layout.widgetsArranged(), d->updater.visits(), ImageLoader::instance().filesRead(), TextBlock::layoutsMade()};
}

void Application::destroyRemovedWidgets()
{
    // A destructor may take further widgets from the tree.
    while (!d->removed.empty()) {
        d->dying.swap(d->removed);
        d->dying.clear();
    }
}

// ---- Damage ----------------------------------------------------------------------------------------------------------

const std::vector<Vecta::Rect>& Application::damage() const noexcept
{
    return d->damage.areas();
}

QRegion Application::collectDamage()
{
    QRegion region;
    for (const Vecta::Rect& area : d->damage.areas()) {
        const int left = int(std::floor(area.x));
        const int top = int(std::floor(area.y));
        region += QRect(left, top, int(std::ceil(area.right())) - left, int(std::ceil(area.bottom())) - top);
    }
    d->damage.clear();
    return region;
}

bool Application::needsFrame() const
{
    return !d->updater.isIdle() || !d->damage.isEmpty() || !d->removed.empty() || isLayoutDirty(*d->mainLayer)
        || Cascara::StyleEngine::instance().isStylingUnfinished() || Cascara::StyleEngine::instance().isMoving()
        || !Bedrock::AfterUpdateQueue::instance().isEmpty() || Bedrock::Inbox::instance().isWaiting() || pendingImages() > 0;
}
}
