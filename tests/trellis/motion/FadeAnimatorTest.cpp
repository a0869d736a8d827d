#include "Scene.hpp"

#include <Trellis/FadeAnimator.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/Operator.hpp>

using Bedrock::IntrusiveWeakPtr;
using Trellis::FadeAnimator;
using Trellis::Widget;
using namespace TrellisTest;

TEST_CASE("fades: in from transparent to the styled opacity, after the delay, and then the run-time layer is free")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10, "opacity: 0.8;");
    FadeAnimator::fadeIn(widget, 0.4f, 0.2f);
    CHECK(widget.opacity() == 0.f);
    scene.frames(2, 0.1);
    CHECK(widget.opacity() == near(0));
    scene.frames(2, 0.1);
    CHECK(widget.opacity() == near(0.4f));
    scene.frames(2, 0.1);
    CHECK(widget.opacity() == near(0.8f));
    CHECK_FALSE(widget.attribute("opacity")->hasValue(Facet::kUserLayer));
    CHECK(widget.operators().empty());
}

TEST_CASE("fades: the goal is what the style says while the fade runs")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    FadeAnimator::fadeIn(widget, 1.f, 0.f);
    scene.frames(5, 0.1);
    CHECK(widget.opacity() == near(0.5f));
    style(widget, "opacity: 0.2;");
    CHECK(widget.opacity() == near(0.5f));
    scene.frames(1, 0.1);
    CHECK(widget.opacity() == near(0.12f));
    scene.frames(4, 0.1);
    CHECK(widget.opacity() == near(0.2f));
}

TEST_CASE("fades: out to transparent, and then the widget is taken from its parent")
{
    Scene scene;
    const IntrusiveWeakPtr<Widget> widget(&scene.box(0, 0, 10, 10));
    FadeAnimator::fadeOutAndDelete(*widget.lock(), 0.2f, 0.1f);
    CHECK(FadeAnimator::isFadingOut(*widget.lock()));
    scene.frames(2, 0.1);
    CHECK(widget.lock()->opacity() == near(0.5f));
    CHECK(widget.lock()->parent());
    scene.frames(1, 0.1);
    CHECK_FALSE(widget);
    scene.frames(2, 0.1);
}

TEST_CASE("fades: a widget on its way out takes no input, and lets go of what it holds")
{
    Scene scene;
    auto& below = scene.box(0, 0, 100, 100);
    auto& widget = scene.box(0, 0, 100, 100, "movable: true;");
    auto* child = new Widget(&widget);
    style(*child, "width: 50px; height: 50px;");
    EventCount ends(widget, "interaction-end");
    EventCount taps(below, "single-tap");
    scene.input.fingerDown(1, {20, 20});
    const auto card = scene.input.markerDown(1001, {80, 80});
    scene.frames();
    CHECK(widget.isHeld());
    FadeAnimator::fadeOutAndDelete(widget, 10.f, 0.f);
    CHECK_FALSE(widget.isHeld());
    CHECK_FALSE(child->isHeld());
    CHECK(scene.app.grabManager()->grabber(card) == nullptr);
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(ends.count == 0);
    scene.input.tap(2, {20, 20});
    scene.frames();
    CHECK(taps.count == 1);
}

TEST_CASE("fades: a new fade replaces the running one and begins with the opacity that shows")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 10, 10);
    FadeAnimator::fadeIn(widget, 1.f, 0.f);
    scene.frames(5, 0.1);
    FadeAnimator::fadeIn(widget, 1.f, 0.f);
    CHECK(widget.opacity() == near(0.5f));
    CHECK(widget.operators().size() == 1);
    scene.frames(5, 0.1);
    CHECK(widget.opacity() == near(0.75f));
    FadeAnimator::fadeOutAndDelete(widget, 1.f, 0.f);
    CHECK(widget.operators().size() == 1);
    scene.frames(5, 0.1);
    CHECK(widget.opacity() == near(0.375f));
    FadeAnimator::fadeIn(widget, 0.5f, 0.f);
    CHECK_FALSE(FadeAnimator::isFadingOut(widget));
    scene.frames(20, 0.1);
    CHECK(widget.opacity() == near(1.f));
    CHECK(widget.parent());
}

TEST_CASE("fades: a widget that is faded out twice is deleted once")
{
    Scene scene;
    const IntrusiveWeakPtr<Widget> widget(&scene.box(0, 0, 10, 10));
    const auto keep = widget.lock();
    FadeAnimator::fadeOutAndDelete(*keep, 0.3f, 0.f);
    scene.frames(2, 0.1);
    FadeAnimator::fadeOutAndDelete(*keep, 0.3f, 0.f);
    CHECK(keep->opacity() == near(1.f / 3.f));
    scene.frames(3, 0.1);
    CHECK(keep->parent() == nullptr);
    scene.frames(5, 0.1);
    CHECK(keep->operators().empty());
    CHECK(keep->referenceCount() == 1);
}

TEST_CASE("fades: without a duration the end comes with the frame after the delay")
{
    Scene scene;
    const IntrusiveWeakPtr<Widget> out(&scene.box(0, 0, 10, 10));
    auto& in = scene.box(0, 0, 10, 10);
    FadeAnimator::fadeOutAndDelete(*out.lock(), 0.f, 0.2f);
    FadeAnimator::fadeIn(in, 0.f, 0.f);
    scene.frames(1, 0.1);
    CHECK(in.opacity() == 1.f);
    CHECK(out.lock()->opacity() == 1.f);
    scene.frames(1, 0.1);
    CHECK_FALSE(out);
}

TEST_CASE("fades: several widgets fade at once, each by itself")
{
    Scene scene;
    auto& a = scene.box(0, 0, 10, 10);
    auto& b = scene.box(0, 0, 10, 10);
    FadeAnimator::fadeIn(a, 1.f, 0.f);
    scene.frames(5, 0.1);
    FadeAnimator::fadeIn(b, 1.f, 0.f);
    scene.frames(2, 0.1);
    CHECK(a.opacity() == near(0.7f));
    CHECK(b.opacity() == near(0.2f));
}
