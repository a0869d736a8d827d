#include "../../facet/AllocationCounter.hpp"
#include "Scene.hpp"

#include <LogCapture.hpp>

#include <Cascara/StyleEngine.hpp>
#include <Trellis/AfterIdleApplyLambdaOperator.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/Operator.hpp>

#include <QObject>
#include <QRegion>
#include <QTimer>

#include <functional>
#include <stdexcept>

using Bedrock::IntrusiveWeakPtr;
using Bedrock::makeIntrusive;
using Trellis::FrameInfo;
using Trellis::Widget;
using namespace TrellisTest;

namespace
{
class Ticker final : public Widget
{
public:
    explicit Ticker(Widget* parent) : Widget(parent) { setUpdating(true); }
    void update(const FrameInfo& frame) override
    {
        ++updates;
        last = frame.number();
        if (onUpdate)
            onUpdate();
    }
    int updates = 0;
    long last = 0;
    std::function<void()> onUpdate;
};
}

TEST_CASE("application: there is one, and it is known while it lives")
{
    CHECK(Trellis::Application::instance() == nullptr);
    {
        Scene scene;
        CHECK(Trellis::Application::instance() == &scene.app);
        CHECK(scene.app.mainLayer()->parent() == nullptr);
        CHECK(scene.app.grabManager() != nullptr);
    }
    CHECK(Trellis::Application::instance() == nullptr);
}

TEST_CASE("application: time is the sum of the frames, and never runs backwards")
{
    Scene scene;
    scene.frames(4, 0.25);
    CHECK(scene.app.time() == doctest::Approx(1.0));
    CHECK(scene.app.frameNumber() == 4);
    scene.frames(1, -3.0);
    scene.frames(1, std::numeric_limits<double>::quiet_NaN());
    CHECK(scene.app.time() == doctest::Approx(1.0));
}

TEST_CASE("application: a frame goes through input, update, after update and layout, in this order")
{
    Scene scene;
    std::string order;
    auto& touched = scene.box(100, 100, 100, 100);
    touched.eventAddListener("interaction-begin", [&] { order += "input "; });
    auto* ticker = new Ticker(scene.app.mainLayer().get());
    auto* flowing = new Widget(scene.app.mainLayer().get());
    scene.frames();
    flowing->attribute("location")->addListener([&] { order += "layout "; });
    ticker->onUpdate = [&] {
        if (ticker->updates == 2) {
            order += "update ";
            style(*ticker, "height: 30px;");
        }
    };
    Facet::Node::invokeAfterUpdate([&] { order += "after "; });
    scene.input.tap(1, {150, 150});
    scene.frames();
    CHECK(order == "input update after layout ");
}

TEST_CASE("application: what is queued for after the update during that step waits for the next frame")
{
    Scene scene;
    int calls = 0;
    Facet::Node::invokeAfterUpdate([&] {
        ++calls;
        Facet::Node::invokeAfterUpdate([&] { ++calls; });
    });
    scene.frames();
    CHECK(calls == 1);
    CHECK(scene.app.needsFrame());
    scene.frames();
    CHECK(calls == 2);
}

TEST_CASE("application: only widgets that want it are updated, and only in the tree")
{
    Scene scene;
    auto* ticker = new Ticker(scene.app.mainLayer().get());
    for (int i = 0; i < 20; ++i)
        scene.box(0, 0, 10, 10);
    const long before = scene.app.counters().widgetsVisited;
    scene.frames(3);
    CHECK(ticker->updates == 3);
    CHECK(ticker->last == scene.app.frameNumber());
    CHECK(scene.app.counters().widgetsVisited - before == 3);
    ticker->setUpdating(false);
    scene.frames();
    CHECK(ticker->updates == 3);
    const auto detached = makeIntrusive<Ticker>(nullptr);
    scene.frames();
    CHECK(detached->updates == 0);
}

TEST_CASE("application: updating widgets may come and go while they are updated")
{
    Scene scene;
    auto* first = new Ticker(scene.app.mainLayer().get());
    const IntrusiveWeakPtr<Widget> second(new Ticker(scene.app.mainLayer().get()));
    auto* third = new Ticker(scene.app.mainLayer().get());
    Ticker* late = nullptr;
    first->onUpdate = [&] {
        if (late)
            return;
        second.lock()->removeFromParent();
        late = new Ticker(scene.app.mainLayer().get());
        first->removeFromParent();
    };
    const IntrusiveWeakPtr<Widget> watched(first);
    scene.frames();
    CHECK_FALSE(watched);
    CHECK_FALSE(second);
    CHECK(third->updates == 1);
    CHECK(late->updates == 0);
    scene.frames();
    CHECK(third->updates == 2);
    CHECK(late->updates == 1);
}

TEST_CASE("application: a widget may delete its parent while it is updated")
{
    Scene scene;
    const IntrusiveWeakPtr<Widget> parent(&scene.box(0, 0, 10, 10));
    auto* ticker = new Ticker(parent.lock().get());
    auto* sibling = new Ticker(parent.lock().get());
    const Bedrock::IntrusivePtr<Widget> keep(sibling);
    ticker->onUpdate = [&] { parent.lock()->removeFromParent(); };
    scene.frames(2);
    CHECK_FALSE(parent);
    CHECK(sibling->updates == 0);
}

TEST_CASE("application: an exception in an update is logged, and the others are updated")
{
    Scene scene;
    auto* bad = new Ticker(scene.app.mainLayer().get());
    auto* good = new Ticker(scene.app.mainLayer().get());
    bad->onUpdate = [] { throw std::runtime_error("no power"); };
    TestSupport::expectError("Application::frame # Widget::update threw (no power), the frame goes on");
    scene.frames();
    CHECK(good->updates == 1);
}

TEST_CASE("application: a frame inside a frame is none")
{
    Scene scene;
    auto* ticker = new Ticker(scene.app.mainLayer().get());
    ticker->onUpdate = [&] { scene.app.frame(1.0); };
    scene.frames(1, 0.5);
    CHECK(ticker->updates == 1);
    CHECK(scene.app.time() == doctest::Approx(0.5));
}

TEST_CASE("application: a frame pumps Qt's events, and destroys what waits to be destroyed")
{
    Scene scene;
    bool fired = false;
    QTimer::singleShot(0, [&] { fired = true; });
    auto* object = new QObject;
    bool destroyed = false;
    QObject::connect(object, &QObject::destroyed, [&] { destroyed = true; });
    object->deleteLater();
    scene.frames();
    CHECK(fired);
    CHECK(destroyed);
}

TEST_CASE("application: a destructor may take other widgets away")
{
    Scene scene;
    class Last final : public Widget
    {
    public:
        Last(Widget* parent, Widget& victim) : Widget(parent), m_victim(victim) {}
        ~Last() override { m_victim.removeFromParent(); }

    private:
        Widget& m_victim;
    };
    const IntrusiveWeakPtr<Widget> victim(&scene.box(0, 0, 10, 10));
    auto* last = new Last(scene.app.mainLayer().get(), *victim.lock());
    last->removeFromParent();
    scene.frames();
    CHECK_FALSE(victim);
}

TEST_CASE("application: a steady frame damages nothing, needs no other frame, and allocates nothing")
{
    Scene scene;
    for (int i = 0; i < 10; ++i) {
        auto& box = scene.box(float(i), 0, 100, 100, "movable: true;");
        new Widget(&box);
    }
    scene.box(0, 0, 10, 10)
        .addOperator(makeIntrusive<Trellis::AfterIdleApplyLambdaOperator>(
            1e6f, [](Widget&) {}, false));
    new Ticker(scene.app.mainLayer().get());
    scene.input.fingerDown(1, {50, 50});
    scene.input.markerDown(1001, {500, 500});
    scene.frames(5);
    (void)scene.app.collectDamage();
    const long before = FacetTest::allocations();
    scene.frames(20);
    CHECK(FacetTest::allocations() == before);
    CHECK(scene.app.damage().empty());
    CHECK(scene.app.collectDamage().isEmpty());
}

TEST_CASE("application: nothing to do means no frame is needed")
{
    Scene scene;
    auto& box = scene.box(0, 0, 100, 100);
    scene.frames(2);
    (void)scene.app.collectDamage();
    CHECK_FALSE(scene.app.needsFrame());
    box.setOpacity(0.5f);
    CHECK(scene.app.needsFrame());
    scene.frames();
    (void)scene.app.collectDamage();
    CHECK_FALSE(scene.app.needsFrame());
    box.addOperator(makeIntrusive<Trellis::Operator>());
    CHECK(scene.app.needsFrame());
}

TEST_CASE("application: a drag allocates nothing once it runs")
{
    Scene scene;
    auto& box = scene.box(100, 100, 100, 100, "movable: true; rotatable: true; scalable: true;");
    (void)box.location();
    scene.input.fingerDown(1, {120, 150});
    scene.input.fingerDown(2, {180, 150});
    float x = 0.f;
    const auto drag = [&] {
        x += 3.f;
        scene.input.fingerMove(1, {120 + x, 150});
        scene.input.fingerMove(2, {180 + 2 * x, 150 + x});
        scene.frames();
    };
    for (int i = 0; i < 5; ++i)
        drag();
    const long before = FacetTest::allocations();
    for (int i = 0; i < 5; ++i)
        drag();
    CHECK(FacetTest::allocations() == before);
    CHECK(box.scale() > 1.f);
}

TEST_CASE("application: transitions of style sheets move on with the frames, and at rest no frame is needed")
{
    auto& styles = Cascara::StyleEngine::instance();
    styles.addStyleSheet(QStringLiteral(".moving { opacity: 1; transition: opacity 1s linear; } .moving.gone { opacity: 0 }"),
                         QStringLiteral("test.css"));
    {
        Scene scene;
        Widget& widget = scene.box(0, 0, 100, 100);
        widget.addCSSClass("moving");
        scene.frames(2, 0.25);
        (void)scene.app.collectDamage();
        CHECK_FALSE(scene.app.needsFrame());
        widget.addCSSClass("gone");
        CHECK(widget.opacity() == 1.f);
        CHECK(scene.app.needsFrame());
        const long arranged = scene.app.counters().widgetsArranged;
        scene.frames(1, 0.25);
        CHECK(widget.opacity() == 0.75f);
        CHECK_FALSE(scene.app.collectDamage().isEmpty());
        scene.frames(3, 0.25);
        CHECK(widget.opacity() == 0.f);
        CHECK(scene.app.counters().widgetsArranged == arranged);
        (void)scene.app.collectDamage();
        CHECK_FALSE(scene.app.needsFrame());
    }
    styles.clearStyleSheets();
}
