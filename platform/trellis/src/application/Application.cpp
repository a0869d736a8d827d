#include <Trellis/Application.hpp>

#include "application/ApplicationPrivate.hpp"
#include "application/Guarded.hpp"
#include "input/GrabManagerPrivate.hpp"
#include "layout/LayoutEngine.hpp"
#include "picture/ImageLoader.hpp"
#include "text/TextBlock.hpp"
#include "tree/WidgetPrivate.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/Arrivals.hpp>
#include <Bedrock/FlagGuard.hpp>
#include <Cascara/StyleEngine.hpp>
#include <Tactile/InputSource.hpp>
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

Application::Application(Vecta::Vector2f sizePx) : d(std::make_unique<Private>(sizePx))
{
    assert(!theApplication && "there is one application");
    theApplication = this;
    Widget& root = *d->mainLayer;
    root.setCSSId(QByteArrayLiteral("main-layer"));
    root.setSize(sizePx);
    root.d->inputTransparent.setValue(true, Facet::kDefaultLayer);
    root.enterTree();
    d->damage.setScene({0.f, 0.f, sizePx.x, sizePx.y});
}

Application::~Application()
{
    d->input.setObserver(nullptr);
    d->mainLayer->leaveTree();
    destroyRemovedWidgets();
    ImageLoader::instance().shutDown();
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
    return &d->grabs;
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
    if (std::find(d->sources.begin(), d->sources.end(), &source) == d->sources.end())
        d->sources.push_back(&source);
}

void Application::removeInputSource(Tactile::InputSource& source)
{
    d->sources.erase(std::remove(d->sources.begin(), d->sources.end(), &source), d->sources.end());
}

void Application::setDragObserver(DragObserver* observer)
{
    d->input.setObserver(observer);
}

void Application::setTapLimits(float distancePx, double seconds)
{
    d->input.setTapLimits(distancePx, seconds);
}

// ---- One frame -------------------------------------------------------------------------------------------------------

void Application::frame(double dtSeconds)
{
    // Qt's events may bring the timer that turns the crank: the frame that is under way is the one it wants.
    if (d->inFrame)
        return;
    const Bedrock::FlagGuard inFrame(d->inFrame);
    const double dt = std::isfinite(dtSeconds) ? std::max(0.0, dtSeconds) : 0.0;
    if (QCoreApplication::instance()) {
        QCoreApplication::processEvents();
        // Outside a running event loop Qt leaves these lying.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    d->time += dt;
    ++d->frameNumber;

    Bedrock::Arrivals::instance().admit();
    takeInput(dt);
    d->updater.run(FrameInfo(float(dt), d->time, d->frameNumber));
    Bedrock::AfterUpdateQueue::instance().drain();
    // What was made since the frame before has all its attributes by now.
    guarded("The styling", [] { Cascara::StyleEngine::instance().finishStyling(); });
    guarded("The layout", [&] {
        LayoutEngine::bringUpToDate(*d->mainLayer);
        destroyRemovedWidgets();
        // Listeners to positions and destructors may have changed something again.
        LayoutEngine::bringUpToDate(*d->mainLayer);
    });
    d->damage.collect();
}

void Application::takeInput(double dtSeconds)
{
    auto& grabs = *d->grabs.d;
    Tactile::Sample& sample = grabs.sample;
    grabs.lifted.clear();
    if (d->sources.size() == 1) {
        d->sources.front()->takeSample(d->time, sample);
    } else {
        sample.clear();
        for (Tactile::InputSource* source : d->sources) {
            source->takeSample(d->time, d->scratch);
            sample.fingers.insert(sample.fingers.end(), d->scratch.fingers.begin(), d->scratch.fingers.end());
            sample.markers.insert(sample.markers.end(), d->scratch.markers.begin(), d->scratch.markers.end());
            sample.changes.insert(sample.changes.end(), d->scratch.changes.begin(), d->scratch.changes.end());
        }
        std::sort(sample.fingers.begin(), sample.fingers.end(), [](const auto& a, const auto& b) { return a.id() < b.id(); });
    }

    using Kind = Tactile::InputChange::Kind;
    const auto isLeaving = [](const Tactile::InputChange& change) {
        return change.kind == Kind::Up || change.kind == Kind::Cancel;
    };
    for (const Tactile::InputChange& change : sample.changes)
        if (change.object.isMarker() && isLeaving(change))
            grabs.lifted.emplace_back(change.object);
    for (std::size_t i = 0; i < sample.changes.size(); ++i) {
        const Tactile::InputChange& change = sample.changes[i];
        if (!change.object.isMarker())
            continue;
        if (change.kind == Kind::Down)
            grabs.markerAppeared(d->grabs, Tactile::Marker(change.object));
        else if (isLeaving(change))
            grabs.markerLeft(d->grabs, Tactile::Marker(change.object));
    }
    d->input.process(sample, d->time, dtSeconds);
}

double Application::time() const noexcept
{
    return d->time;
}

long Application::frameNumber() const noexcept
{
    return d->frameNumber;
}

Application::Counters Application::counters() const noexcept
{
    return {LayoutEngine::widgetsArranged(), d->updater.visits(), ImageLoader::instance().filesRead(), TextBlock::layoutsMade()};
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

QRegion Application::takeDamage()
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
    return !d->updater.isIdle() || !d->damage.isEmpty() || !d->removed.empty() || LayoutEngine::isDirty(*d->mainLayer)
        || Cascara::StyleEngine::instance().isStylingUnfinished() || !Bedrock::AfterUpdateQueue::instance().isEmpty()
        || Bedrock::Arrivals::instance().isWaiting() || pendingImages() > 0;
}
}
