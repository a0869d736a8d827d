#include "Scene.hpp"

#include <Trellis/DragObserver.hpp>
#include <Trellis/GrabManager.hpp>
#include <Trellis/InputGrabber.hpp>

#include <LogCapture.hpp>

#include <stdexcept>

using Bedrock::IntrusiveWeakPtr;
using Trellis::Widget;
using Vecta::Vector2f;
using namespace TrellisTest;

namespace
{
struct RecordingObserver final : Trellis::DragObserver
{
    void dragBegan(Widget& widget) override
    {
        log.push_back("began");
        began = widget.location();
    }
    void dragMoved(Widget& widget, Vector2f scenePoint, int fingers) override
    {
        log.push_back("moved");
        point = scenePoint;
        count = fingers;
        if (removesWhenMoved)
            widget.removeFromParent();
    }
    void dragEnded(Widget& widget, Vector2f scenePoint, bool wasCancelled) override
    {
        log.push_back("ended");
        point = scenePoint;
        cancelled = wasCancelled;
        if (removesAtEnd)
            widget.removeFromParent();
    }
    std::vector<std::string> log;
    Vector2f began;
    Vector2f point;
    int count = 0;
    bool cancelled = false;
    bool removesWhenMoved = false;
    bool removesAtEnd = false;
};
}

TEST_CASE("input: the observer of drags receives begin, movements and end, and no taps")
{
    Scene scene;
    RecordingObserver observer;
    scene.app.setDragObserver(&observer);
    auto& widget = scene.box(100, 100, 200, 200, "movable: true;");
    EventCount ends(widget, "interaction-end");
    scene.input.tap(1, {150, 150});
    scene.frames();
    CHECK(observer.log.empty());
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    scene.input.fingerMove(1, {250, 150});
    scene.frames();
    CHECK(observer.log == std::vector<std::string>{"began", "moved"});
    CHECK_POINT(observer.began, 100, 100);
    CHECK_POINT(observer.point, 250, 150);
    CHECK(observer.count == 1);
    scene.frames();
    CHECK(observer.log.size() == 2);
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(observer.log == std::vector<std::string>{"began", "moved", "ended"});
    CHECK_FALSE(observer.cancelled);
    scene.app.setDragObserver(nullptr);
}

TEST_CASE("input: the observer receives the end of a drag that was lost")
{
    Scene scene;
    RecordingObserver observer;
    scene.app.setDragObserver(&observer);
    scene.box(100, 100, 200, 200, "movable: true;");
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    scene.input.fingerMove(1, {250, 150});
    scene.frames();
    scene.input.fingerCancel(1);
    scene.frames();
    CHECK(observer.log.back() == "ended");
    CHECK(observer.cancelled);
}

TEST_CASE("input: the observer may remove the widget while it moves and when it is let go")
{
    for (const bool atEnd : {false, true}) {
        Scene scene;
        RecordingObserver observer;
        observer.removesWhenMoved = !atEnd;
        observer.removesAtEnd = atEnd;
        scene.app.setDragObserver(&observer);
        const IntrusiveWeakPtr<Widget> widget(&scene.box(100, 100, 200, 200, "movable: true;"));
        EventCount ends(*widget.lock(), "interaction-end");
        scene.input.fingerDown(1, {150, 150});
        scene.frames();
        scene.input.fingerMove(1, {250, 150});
        scene.input.fingerMove(1, {260, 150});
        scene.input.fingerUp(1);
        scene.frames();
        CHECK_FALSE(widget);
        CHECK(ends.count == 0);
        scene.frames(3);
    }
}

TEST_CASE("input: a widget that is taken away while held lets go silently, and its finger does nothing more")
{
    Scene scene;
    RecordingObserver observer;
    scene.app.setDragObserver(&observer);
    auto& below = scene.box(100, 100, 200, 200);
    auto& widget = scene.box(100, 100, 200, 200, "movable: true;");
    EventCount ends(widget, "interaction-end");
    EventCount taps(widget, "single-tap");
    EventCount belowBegins(below, "interaction-begin");
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    scene.input.fingerMove(1, {190, 150});
    scene.frames();
    const Bedrock::IntrusivePtr<Widget> keep(&widget);
    widget.removeFromParent();
    CHECK_FALSE(widget.isHeld());
    CHECK(scene.app.grabManager()->grabber(1) == nullptr);
    scene.input.fingerMove(1, {250, 150});
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(ends.count == 0);
    CHECK(taps.count == 0);
    CHECK(belowBegins.count == 0);
    CHECK(observer.log == std::vector<std::string>{"began", "moved"});
}

TEST_CASE("input: a finger that is given to another widget in its last step ends there")
{
    struct Giver final : Trellis::DragObserver
    {
        void dragMoved(Widget&, Vector2f, int) override
        {
            if (to)
                Trellis::Application::instance()->grabManager()->transferGrab(1, to->inputGrabber());
        }
        void dragBegan(Widget&) override {}
        void dragEnded(Widget&, Vector2f, bool) override {}
        Widget* to = nullptr;
    };
    Scene scene;
    Giver giver;
    scene.app.setDragObserver(&giver);
    auto& first = scene.box(100, 100, 100, 100, "movable: true;");
    auto& second = scene.box(400, 100, 100, 100, "movable: true;");
    EventCount ends(second, "interaction-end");
    giver.to = &second;
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    scene.input.fingerMove(1, {200, 150});
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(ends.count == 1);
    CHECK_FALSE(first.isHeld());
    CHECK_FALSE(second.isHeld());
    CHECK_POINT(second.mapToScene({0, 0}), 400, 100);
    scene.app.setDragObserver(nullptr);
}

TEST_CASE("input: an exception in the observer of one drag keeps no other finger from its widget")
{
    struct Thrower final : Trellis::DragObserver
    {
        void dragBegan(Widget& widget) override { check(widget); }
        void dragMoved(Widget&, Vector2f, int) override {}
        void dragEnded(Widget& widget, Vector2f, bool) override { check(widget); }
        void check(Widget& widget)
        {
            if (&widget == bad)
                throw std::runtime_error("observer");
        }
        Widget* bad = nullptr;
    };
    Scene scene;
    Thrower observer;
    scene.app.setDragObserver(&observer);
    auto& bad = scene.box(100, 100, 100, 100, "movable: true;");
    auto& good = scene.box(400, 100, 100, 100, "movable: true;");
    observer.bad = &bad;
    EventCount ends(good, "interaction-end");
    scene.input.fingerDown(1, {150, 150});
    scene.input.fingerDown(2, {450, 150});
    scene.frames();
    scene.input.fingerMove(1, {200, 150});
    scene.input.fingerMove(2, {500, 150});
    TestSupport::expectError("Application::frame # A listener to a drag threw (observer), the frame goes on");
    scene.frames();
    CHECK_POINT(good.mapToScene({0, 0}), 450, 100);
    scene.input.fingerUp(1);
    scene.input.fingerUp(2);
    TestSupport::expectError("Application::frame # A listener to a finger threw (observer), the frame goes on");
    scene.frames();
    CHECK(ends.count == 1);
    CHECK_FALSE(bad.isHeld());
    CHECK_FALSE(good.isHeld());
    scene.app.setDragObserver(nullptr);
}
