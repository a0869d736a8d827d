#pragma once

#include "application/FrameUpdater.hpp"
#include "drawing/DamageTracker.hpp"
#include "input/WidgetInput.hpp"

#include <Tactile/Sample.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Widget.hpp>

#include <memory>
#include <vector>

namespace Trellis
{
/// The parts that a frame consists of. Declared in an order in which the tree goes before what its widgets report to.
struct Application::Private
{
    explicit Private(Vecta::Vector2f size)
        : sizePx(size), damage({0.f, 0.f, size.x, size.y}), mainLayer(Bedrock::makeIntrusive<Widget>()), grabs(*mainLayer),
          input(grabs, *mainLayer)
    {
    }

    Vecta::Vector2f sizePx;
    double time = 0.0;
    long frameNumber = 0;
    bool inFrame = false;

    DamageTracker damage;
    FrameUpdater updater;
    Bedrock::IntrusivePtr<Widget> mainLayer;
    GrabManager grabs;
    WidgetInput input;

    std::vector<Tactile::InputSource*> sources;
    Tactile::Sample scratch;
    Widget* focus = nullptr;
    std::vector<Bedrock::IntrusivePtr<Widget>> removed;
    std::vector<Bedrock::IntrusivePtr<Widget>> dying;
};
}
