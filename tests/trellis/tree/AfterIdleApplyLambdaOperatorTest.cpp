#include "Scene.hpp"

#include <Trellis/AfterIdleApplyLambdaOperator.hpp>

using Bedrock::makeIntrusive;
using Trellis::AfterIdleApplyLambdaOperator;
using Trellis::Widget;
using namespace TrellisTest;

TEST_CASE("after idle: applies its function once, when the widget was not touched for the time")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100);
    scene.frames(10, 1.0);
    int calls = 0;
    widget.addOperator(makeIntrusive<AfterIdleApplyLambdaOperator>(
        10.f, [&](Widget&) { ++calls; }, false));
    scene.frames(99, 0.1);
    CHECK(calls == 0); // counted from the attaching, although the widget was never touched
    scene.frames(1, 0.1);
    CHECK(calls == 1);
    CHECK(widget.operators().empty());
    scene.frames(200, 0.1);
    CHECK(calls == 1);
}

TEST_CASE("after idle: a touch of anything in the widget begins the time anew, and a held finger stops it")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100);
    auto* child = new Widget(&widget);
    style(*child, "width: 50px; height: 50px;");
    int calls = 0;
    widget.addOperator(makeIntrusive<AfterIdleApplyLambdaOperator>(
        2.f, [&](Widget&) { ++calls; }, false));
    scene.frames(15, 0.1);
    scene.input.fingerDown(1, {120, 120});
    scene.frames(50, 0.1);
    CHECK(calls == 0);
    scene.input.fingerUp(1);
    scene.frames(20, 0.1);
    CHECK(calls == 0);
    scene.frames(1, 0.1);
    CHECK(calls == 1);
}

TEST_CASE("after idle: with repeat it goes on")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100);
    int calls = 0;
    widget.addOperator(makeIntrusive<AfterIdleApplyLambdaOperator>(
        1.f, [&](Widget&) { ++calls; }, true));
    scene.frames(35, 0.1);
    CHECK(calls == 3);
    CHECK(widget.operators().size() == 1);
}

TEST_CASE("after idle: the function may delete the widget")
{
    Scene scene;
    const Bedrock::IntrusiveWeakPtr<Widget> widget(&scene.box(100, 100, 100, 100));
    widget.lock()->addOperator(makeIntrusive<AfterIdleApplyLambdaOperator>(
        0.f, [](Widget& host) { host.removeFromParent(); }, false));
    scene.frames();
    CHECK_FALSE(widget);
}
