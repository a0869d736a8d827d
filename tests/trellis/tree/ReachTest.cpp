#include <doctest/doctest.h>

#include "RecordingContext.hpp"
#include "Scene.hpp"

#include <random>

using namespace TestSupport;
using namespace TrellisTest;
using Trellis::Widget;

namespace
{
constexpr Vecta::Rect kCorner{0, 0, 50, 50};

int drawnTiles(Scene& scene, const Vecta::Rect& area = kCorner)
{
    RecordingContext context(area);
    scene.app.render(context);
    CHECK(context.depth() == 0);
    return context.count(RecordingContext::Call::Kind::Rect);
}

void setWord(Widget& widget, const char* attribute, const char* word)
{
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Ident, QString::fromLatin1(word), 0.0, {}});
    REQUIRE(widget.attribute(attribute)->setStyleValue(value, Facet::kUserLayer, nullptr));
}
}

TEST_CASE("reach: a group outside of the drawn area costs one test, however much is in it")
{
    Scene scene(kSmall);
    Widget& group = box(scene.root(), {100, 100, 50, 50}, kRed);
    for (int i = 0; i < 40; ++i)
        box(group, {float(i), float(i), 5, 5}, kBlue);
    box(scene.root(), {10, 10, 10, 10}, kGreen);
    scene.frame();
    RecordingContext context(kCorner);
    scene.app.render(context);
    CHECK(context.count(RecordingContext::Call::Kind::Rect) == 1);
    // The root and its box, the group, the other widget and its box.
    CHECK(context.visibilityTests() == 5);
}

TEST_CASE("reach: what moves into the drawn area is drawn, however deep it stands")
{
    Scene scene(kSmall);
    Widget& outer = box(scene.root(), {100, 100, 10, 10}, kRed);
    Widget& middle = box(outer, {5, 5, 10, 10}, kRed);
    Widget& inner = box(middle, {5, 5, 10, 10}, kRed);
    CHECK(drawnTiles(scene) == 0);
    inner.setLocation({-100, -100});
    CHECK(drawnTiles(scene) == 1);
    inner.setLocation({5, 5});
    CHECK(drawnTiles(scene) == 0);
    middle.setScale(-10.f);
    CHECK(drawnTiles(scene) == 2);
    middle.setScale(1.f);
    outer.setRotation(kPi);
    CHECK(drawnTiles(scene) == 0);
    set(inner, "width", Trellis::Length::pixels(90.f));
    set(inner, "height", Trellis::Length::pixels(90.f));
    CHECK(drawnTiles(scene) == 1);
}

TEST_CASE("reach: what changes while it is hidden, cut off or taken away counts when it shows again")
{
    Scene scene(kSmall);
    Widget& outer = box(scene.root(), {100, 100, 10, 10}, kRed);
    Widget& middle = box(outer, {0, 0, 10, 10}, kRed);
    Widget& inner = box(middle, {0, 0, 10, 10}, kRed);
    CHECK(drawnTiles(scene) == 0);

    setWord(middle, "display", "none");
    CHECK(drawnTiles(scene) == 0);
    inner.setLocation({-90, -90});
    CHECK(drawnTiles(scene) == 0);
    setWord(middle, "display", "block");
    CHECK(drawnTiles(scene) == 1);

    middle.setOpacity(0.f);
    CHECK(drawnTiles(scene) == 0);
    inner.setLocation({0, 0});
    inner.setLocation({-80, -80});
    middle.setOpacity(1.f);
    CHECK(drawnTiles(scene) == 1);

    setWord(outer, "overflow", "hidden");
    CHECK(drawnTiles(scene) == 0);
    inner.setLocation({-95, -95});
    setWord(outer, "overflow", "visible");
    CHECK(drawnTiles(scene) == 1);

    const Bedrock::IntrusivePtr<Widget> kept(&middle);
    middle.removeFromParent();
    CHECK(drawnTiles(scene) == 0);
    inner.setLocation({0, 0});
    outer.addChild(kept);
    CHECK(drawnTiles(scene) == 0);
    middle.removeFromParent();
    inner.setLocation({-90, -90});
    outer.addChild(kept);
    CHECK(drawnTiles(scene) == 1);
}

TEST_CASE("reach: a hidden child reaches nowhere, until it shows")
{
    Scene scene(kSmall);
    Widget& group = box(scene.root(), {100, 100, 10, 10}, kRed);
    Widget& hidden = box(group, {-90, -90, 10, 10}, kBlue);
    setWord(hidden, "display", "none");
    scene.frame();
    RecordingContext context(kCorner);
    scene.app.render(context);
    // The root and its box, and the group.
    CHECK(context.visibilityTests() == 3);
    setWord(hidden, "display", "block");
    CHECK(drawnTiles(scene) == 1);
}

TEST_CASE("reach: what a widget cuts off reaches nowhere")
{
    Scene scene(kSmall);
    Widget& group = box(scene.root(), {100, 100, 10, 10}, kRed);
    box(group, {-90, -90, 10, 10}, kBlue);
    setWord(group, "overflow", "hidden");
    scene.frame();
    RecordingContext context(kCorner);
    scene.app.render(context);
    // The root and its box, and the group.
    CHECK(context.visibilityTests() == 3);
}

TEST_CASE("reach: a child whose place is no number hides nothing else")
{
    Scene scene(kSmall);
    Widget& outer = box(scene.root(), {10, 10, 10, 10}, kRed);
    box(outer, {0, 0, 10, 10}, kRed).setLocation({std::numeric_limits<float>::quiet_NaN(), 0.f});
    box(outer, {5, 5, 10, 10}, kRed);
    CHECK(drawnTiles(scene) == 2);
}

TEST_CASE("reach: after random edits every box in the drawn area is drawn")
{
    Scene scene(kSmall);
    std::mt19937 random(11);
    const auto number = [&](int limit) { return float(random() % unsigned(limit)); };
    std::vector<Widget*> widgets{&box(scene.root(), {10, 10, 20, 20}, kRed)};
    for (int i = 0; i < 30; ++i)
        widgets.push_back(&box(*widgets[random() % widgets.size()], {number(60) - 30, number(60) - 30, 20, 20}, kRed));
    for (int step = 0; step < 1500; ++step) {
        Widget& widget = *widgets[random() % widgets.size()];
        Widget& other = *widgets[random() % widgets.size()];
        switch (random() % 8) {
        case 0: widget.setLocation({number(100) - 50, number(100) - 50}); break;
        case 1: widget.setRotation(number(600) / 100); break;
        case 2: widget.setScale(0.5f + number(100) / 100); break;
        case 3: widget.setOpacity(number(3) / 2); break;
        case 4: setWord(widget, "display", random() % 3 ? "block" : "none"); break;
        case 5: setWord(widget, "overflow", random() % 3 ? "visible" : "hidden"); break;
        case 6: widget.setSize({number(40), number(40)}); break;
        case 7:
            if (!widget.isAncestorOf(other))
                other.addChild(widget);
            break;
        }
        if (random() % 3)
            continue;
        const Vecta::Rect area{number(150), number(150), 40, 40};
        RecordingContext everything;
        scene.app.render(everything);
        const auto inArea = [&](const RecordingContext::Call& call) { return call.sceneBounds.intersects(area); };
        // Cut off by an ancestor counts as drawn or not.
        RecordingContext some(area);
        scene.app.render(some);
        for (const RecordingContext::Call& call : everything.calls())
            if (inArea(call) && call.clips == 0)
                REQUIRE_MESSAGE(std::any_of(some.calls().begin(), some.calls().end(),
                                            [&](const RecordingContext::Call& c) { return c.sceneBounds == call.sceneBounds; }),
                                "step " << step);
    }
}

TEST_CASE("reach: what stands outside of a widget is drawn again when that no longer cuts it off")
{
    Scene scene(kSmall);
    Widget& group = box(scene.root(), {100, 10, 20, 20}, kRed);
    box(group, {-80, 0, 10, 10}, kBlue);
    scene.frame();
    CHECK(drawnTiles(scene) == 1);
    setWord(group, "overflow", "hidden");
    scene.frame();
    CHECK(drawnTiles(scene) == 0);
    setWord(group, "overflow", "visible");
    scene.frame();
    CHECK(drawnTiles(scene) == 1);
}
