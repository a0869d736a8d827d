// What transitions and keyframe animations of style sheets do with widgets: geometry, layout, fingers, damage.

#include "../../facet/AllocationCounter.hpp"
#include "Scene.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Trellis/FadeAnimator.hpp>

#include <string>

using Trellis::Widget;
using Vecta::Vector2f;
using namespace TrellisTest;

namespace
{
/// A table with a style sheet of its own.
struct MotionScene : Scene
{
    explicit MotionScene(const char* css)
    {
        Cascara::StyleEngine::instance().addStyleSheet(QString::fromUtf8(css), QStringLiteral("test.css"));
        frame(0.0);
    }
    Widget& add(const char* classes, Widget* parent = nullptr)
    {
        auto* widget = new Widget(parent ? parent : &root());
        for (const QByteArray& name : QByteArray(classes).split(' '))
            widget->addCSSClass(name);
        widget->postConstruct();
        return *widget;
    }
    [[nodiscard]] long arranged() const { return app.counters().widgetsArranged; }
};

const char* const kGrow = "@keyframes grow { from { scale: 0.5 } } "
                          ".grow { position: absolute; width: 100px; height: 60px; animation: grow 1s linear }";
}

// ---- Geometry ----------------------------------------------------------------------------------------------------------

TEST_CASE("style motion: a widget that comes growing is at rest in its first frame, and grows about its middle")
{
    MotionScene scene(kGrow);
    auto& widget = scene.add("grow");
    CHECK(widget.size() == Vector2f(100.f, 60.f));
    widget.setCenterLocation({300.f, 200.f});
    CHECK(widget.scale() == 1.f);
    CHECK_POINT(widget.location(), 250, 170);
    CHECK(widget.isInside(widget.mapFromScene({251.f, 171.f})));
    scene.frame(0.0);
    CHECK(widget.scale() == 0.5f); // what the first picture shows
    CHECK(widget.scaleAtRest() == 1.f);
    CHECK_POINT(widget.centerLocation(), 300, 200);
    CHECK_POINT(widget.location(), 250, 170);
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 275, 185);
    CHECK_POINT(widget.mapFromScene({275.f, 185.f}), 0, 0);
    CHECK(widget.sceneBounds().x == near(275));
    CHECK(widget.sceneBounds().right() == near(325));
    CHECK(widget.size() == Vector2f(100.f, 60.f));
    CHECK_FALSE(widget.isInside(widget.mapFromScene({274.f, 200.f})));
    scene.frame(0.5);
    CHECK(widget.scale() == 0.75f);
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 262.5, 177.5);
    CHECK_POINT(widget.centerLocation(), 300, 200);
    scene.frame(0.5);
    CHECK(widget.scale() == 1.f);
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 250, 170);
    CHECK_FALSE(widget.attribute("scale")->hasValue(Facet::kStyleLayer));
}

TEST_CASE("style motion: what is placed and turned while it grows, stands there when it has grown")
{
    MotionScene scene(kGrow);
    auto& widget = scene.add("grow");
    widget.setCenterLocation({300.f, 200.f});
    scene.frame(0.0);
    scene.frame(0.5);
    widget.setCenterLocation({400.f, 300.f});
    CHECK_POINT(widget.centerLocation(), 400, 300);
    widget.setRotationAboutCenter(kPi / 2.f);
    CHECK_POINT(widget.centerLocation(), 400, 300);
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 422.5, 262.5);
    widget.setRotationAboutScenePoint(0.f, {400.f, 300.f});
    CHECK_POINT(widget.centerLocation(), 400, 300);
    scene.frame(0.5);
    CHECK_POINT(widget.centerLocation(), 400, 300);
    CHECK_POINT(widget.location(), 350, 270);
}

TEST_CASE("style motion: a scale that the program gives is the one that counts, and the middle keeps to it")
{
    MotionScene scene(kGrow);
    auto& widget = scene.add("grow");
    widget.setLocation({100.f, 100.f});
    scene.frame(0.0);
    widget.setScale(2.f);
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 100, 100);
    CHECK_POINT(widget.centerLocation(), 200, 160);
    scene.frame(0.25);
    CHECK(widget.scale() == 2.f);
    CHECK(widget.scaleAtRest() == 2.f);
    CHECK_POINT(widget.centerLocation(), 200, 160);
}

TEST_CASE("style motion: a rule that changes the scale on the way moves the middle, as it does at rest")
{
    MotionScene scene("@keyframes grow { from { scale: 0.5 } } .big { scale: 2 } .grow { position: absolute; left: 100px; "
                      "top: 100px; width: 100px; height: 60px; animation: grow 1s linear } .far { right: 0px; left: auto }");
    auto& widget = scene.add("grow");
    auto& far = scene.add("grow far");
    scene.frame(0.0);
    scene.frame(0.5);
    CHECK_POINT(widget.centerLocation(), 150, 130);
    CHECK_POINT(far.centerLocation(), 950, 130);
    widget.addCSSClass("big");
    far.addCSSClass("big");
    CHECK_POINT(widget.centerLocation(), 200, 160);
    CHECK_POINT(far.centerLocation(), 900, 160); // its right edge at rest is that of the table
    CHECK(widget.scale() == 1.25f);
    scene.frame(0.5);
    CHECK(widget.scale() == 2.f);
    CHECK_POINT(far.centerLocation(), 900, 160);
}

TEST_CASE("style motion: what cannot be interpolated switches halfway")
{
    MotionScene scene(".w { position: absolute; transition: width 1s linear } .wide { width: 100px } "
                      "@keyframes wide { to { width: 50% } } .a { animation: wide 1s linear }");
    auto& widget = scene.add("w");
    scene.frames(2, 0.0);
    widget.addCSSClass("wide");
    scene.frame(0.49);
    CHECK(widget.width() == 0.f);
    scene.frame(0.02);
    CHECK(widget.width() == 100.f);
    scene.frame(1.0);
    widget.addCSSClass("a");
    scene.frame(0.0);
    scene.frame(0.49);
    CHECK(widget.width() == 100.f);
    scene.frame(0.02);
    CHECK(widget.width() == 500.f);
}

TEST_CASE("style motion: a widget of the flow that was put somewhere grows about its middle there")
{
    MotionScene scene("@keyframes grow { from { scale: 0.5 } } .grow { width: 100px; height: 60px; animation: grow 1s linear }");
    auto& widget = scene.add("grow");
    widget.setCenterLocation({300.f, 200.f});
    scene.frame(0.0);
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 275, 185);
    CHECK_POINT(widget.centerLocation(), 300, 200);
    scene.frame(1.0);
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 250, 170);
}

// ---- Layout ------------------------------------------------------------------------------------------------------------

TEST_CASE("style motion: opacity, rotation, location, and the scale of an absolute widget move without a layout")
{
    const char* const places = ".t { position: absolute; left: 10px; top: 10px; width: 50px; height: 50px; "
                               "transition: all 1s linear } ";
    struct Row
    {
        const char* what;
        std::string css;
    };
    const Row rows[] = {
        {"opacity", ".t.go { opacity: 0.5 }"},
        {"rotation", ".t.go { rotation: 1 }"},
        {"scale", ".t.go { scale: 2 }"},
        {"scale at far edges", ".t { left: auto; top: auto; right: 9px; bottom: 9px } .t.go { scale: 2 }"},
        {"scale in the middle", ".t { left: 0; right: 0; margin: auto } .t.go { scale: 2 }"},
        {"location", ".t { location: 1px 1px } .t.go { location: 90px 90px }"},
        {"animated opacity", "@keyframes x { to { opacity: 0 } } .go { animation: x 1s }"},
        {"animated rotation", "@keyframes x { to { rotation: 1 } } .go { animation: x 1s }"},
        {"animated scale", "@keyframes x { to { scale: 2 } } .go { animation: x 1s }"},
        {"animated scale at far edges",
         ".t { left: auto; top: auto; right: 9px; bottom: 9px } @keyframes x { to { scale: 2 } } .go { animation: x 1s }"},
        {"animated location", "@keyframes x { to { location: 90px 90px } } .go { animation: x 1s }"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.what));
        MotionScene scene((places + row.css).c_str());
        auto& widget = scene.add("t");
        scene.frames(2, 0.0);
        widget.addCSSClass("go");
        scene.frame(0.1); // begins
        const long before = scene.arranged();
        const QString shown = widget.attribute("location")->toText() + widget.attribute("scale")->toText()
            + widget.attribute("rotation")->toText() + widget.attribute("opacity")->toText();
        scene.frames(5, 0.1);
        CHECK(shown
              != widget.attribute("location")->toText() + widget.attribute("scale")->toText()
                  + widget.attribute("rotation")->toText() + widget.attribute("opacity")->toText());
        CHECK(scene.arranged() == before);
    }
}

TEST_CASE("style motion: at a far edge the scale that the program gives counts while an animation covers it")
{
    MotionScene scene("@keyframes pulse { to { scale: 2 } } .t { position: absolute; right: 0px; bottom: 0px; width: 50px; "
                      "height: 50px; animation: pulse 1s linear }");
    auto& widget = scene.add("t");
    scene.frames(2, 0.25);
    widget.setScale(3.f);
    CHECK(widget.sceneBounds().right() == near(1000));
    CHECK(widget.sceneBounds().bottom() == near(800));
    CHECK(widget.sceneBounds().width == near(150));
}

TEST_CASE("style motion: in the flow a widget takes the room that its moving scale shows")
{
    MotionScene scene("@keyframes grow { from { scale: 0.5 } } .line { width: 100px; height: 60px } "
                      ".grow { animation: grow 1s linear }");
    auto& first = scene.add("line");
    auto& second = scene.add("line");
    scene.frames(2, 0.0);
    CHECK_POINT(second.location(), 0, 60);
    first.addCSSClass("grow");
    scene.frame(0.0);
    CHECK_POINT(second.location(), 0, 30);
    CHECK_POINT(first.mapToParent({0.f, 0.f}), 0, 0);
    scene.frame(0.5);
    CHECK_POINT(second.location(), 0, 45);
    scene.frame(0.5);
    CHECK_POINT(second.location(), 0, 60);
}

TEST_CASE("style motion: what stands at a far edge stays there while a transition scales it")
{
    MotionScene scene(".t { position: absolute; right: 0px; bottom: 0px; width: 50px; height: 50px; "
                      "transition: scale 1s linear } .big { scale: 2 }");
    auto& widget = scene.add("t");
    scene.frames(2, 0.0);
    widget.addCSSClass("big");
    scene.frame(0.5);
    CHECK(widget.sceneBounds().right() == near(1000));
    CHECK(widget.sceneBounds().bottom() == near(800));
    CHECK(widget.sceneBounds().width == near(75));
    scene.frame(0.5);
    widget.setScale(3.f);
    CHECK(widget.sceneBounds().right() == near(1000));
    CHECK(widget.sceneBounds().width == near(150));
    widget.attribute("scale")->clearValue(Facet::kUserLayer);
    CHECK(widget.sceneBounds().right() == near(1000));
    auto& lower = scene.add("t");
    style(lower, "right: auto; left: 0px;");
    scene.frames(2, 0.0);
    lower.addCSSClass("big");
    scene.frame(0.5);
    CHECK(lower.sceneBounds().x == near(0));
    CHECK(lower.sceneBounds().bottom() == near(800));
}

// ---- Fingers -----------------------------------------------------------------------------------------------------------

TEST_CASE("style motion: a finger ends an animation of the geometry where it shows, and moves on from there")
{
    MotionScene scene("@keyframes come { from { scale: 0.5; rotation: -1; location: 0px 0px; opacity: 0.5 } } "
                      ".come { position: absolute; left: 200px; top: 200px; width: 100px; height: 60px; movable: true; "
                      "inertia: false; animation: come 1s linear }");
    auto& widget = scene.add("come");
    scene.frame(0.0);
    scene.frame(0.5);
    const Vector2f corner = widget.mapToParent({0.f, 0.f});
    const Vector2f middle = widget.centerLocation();
    const float rotation = widget.rotation();
    CHECK(widget.scale() == 0.75f);
    scene.input.fingerDown(1, middle);
    scene.frame(0.25);
    CHECK(widget.scale() == 0.75f);
    CHECK(widget.rotation() == rotation);
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), corner.x, corner.y);
    CHECK(widget.opacity() == 0.875f); // no geometry
    scene.input.fingerMove(1, middle + Vector2f(60.f, 0.f));
    scene.frame(0.25);
    CHECK_POINT(widget.centerLocation(), middle.x + 60.f, middle.y);
    scene.input.fingerUp(1);
    scene.frame(1.0);
    CHECK_POINT(widget.centerLocation(), middle.x + 60.f, middle.y);
    CHECK(widget.scale() == 0.75f);
    CHECK(widget.opacity() == 1.f);
    CHECK_FALSE(Cascara::StyleEngine::instance().isMoving());
}

TEST_CASE("style motion: a finger keeps the end that an animation leaves")
{
    MotionScene scene(
        "@keyframes shrink { to { scale: 0.5 } } .shrink { position: absolute; left: 200px; top: 200px; width: 100px; "
        "height: 60px; movable: true; inertia: false; animation: shrink 0.5s linear forwards }");
    auto& widget = scene.add("shrink");
    scene.frame(0.0);
    scene.frame(1.0);
    CHECK_FALSE(Cascara::StyleEngine::instance().isMoving());
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 225, 215);
    scene.input.fingerDown(1, {250.f, 230.f});
    scene.frame();
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 225, 215);
    CHECK_POINT(widget.location(), 225, 215);
    scene.input.fingerMove(1, {350.f, 230.f});
    scene.frame();
    CHECK_POINT(widget.centerLocation(), 350, 230);
    CHECK(widget.scale() == 0.5f);
    scene.input.fingerUp(1);
    scene.frame();
}

TEST_CASE("style motion: two fingers that scale go on from the size that shows")
{
    MotionScene scene(
        "@keyframes grow { from { scale: 0.5 } } .grow { position: absolute; left: 200px; top: 200px; width: 400px; "
        "height: 400px; scalable: true; animation: grow 1s linear }");
    auto& widget = scene.add("grow");
    scene.frame(0.0);
    scene.input.fingerDown(1, {380.f, 400.f});
    scene.input.fingerDown(2, {420.f, 400.f});
    scene.frame(0.0);
    CHECK(widget.scale() == 0.5f);
    scene.input.fingerMove(1, {360.f, 400.f});
    scene.input.fingerMove(2, {440.f, 400.f});
    scene.frame(0.25);
    scene.frame(0.25);
    CHECK(widget.scale() == near(1.f));
    CHECK_POINT(widget.centerLocation(), 400, 400);
    scene.input.fingerUp(1);
    scene.input.fingerUp(2);
    scene.frame();
}

TEST_CASE("style motion: fingers that lie already take over an animation that comes, with their next move")
{
    MotionScene scene("@keyframes shrink { to { scale: 0.5 } } .shrink { animation: shrink 1s linear forwards } "
                      ".m { position: absolute; left: 200px; top: 200px; width: 400px; height: 400px; scalable: true }");
    auto& widget = scene.add("m");
    scene.frames(2, 0.0);
    scene.input.fingerDown(1, {380.f, 400.f});
    scene.input.fingerDown(2, {420.f, 400.f});
    scene.frame(0.0);
    widget.addCSSClass("shrink");
    scene.frame(0.0);
    scene.frame(1.0);
    CHECK(widget.scale() == 0.5f);
    scene.input.fingerMove(1, {360.f, 400.f});
    scene.input.fingerMove(2, {440.f, 400.f});
    scene.frame(0.25);
    scene.frame(0.25);
    CHECK(widget.scale() == near(1.f));
    CHECK_POINT(widget.centerLocation(), 400, 400);
    CHECK_POINT(widget.mapToParent({0.f, 0.f}), 200, 200);
    scene.input.fingerUp(1);
    scene.input.fingerUp(2);
    scene.frame();
}

TEST_CASE("style motion: an animation that comes while a finger drags does not carry the widget away")
{
    MotionScene scene("@keyframes no { 50% { location: 900px 0px; scale: 0.2 } } .no { animation: no 1s linear } "
                      ".m { position: absolute; left: 200px; top: 200px; width: 100px; height: 60px; movable: true; "
                      "inertia: false }");
    auto& widget = scene.add("m");
    scene.frames(2, 0.0);
    scene.input.fingerDown(1, {250.f, 230.f});
    scene.frame();
    widget.addCSSClass("no");
    scene.frame(0.0);
    scene.input.fingerMove(1, {300.f, 230.f});
    scene.frame(0.1);
    CHECK_POINT(widget.centerLocation(), 300, 230);
    scene.input.fingerMove(1, {350.f, 230.f});
    scene.frame(0.4);
    CHECK_POINT(widget.centerLocation(), 350, 230);
    scene.input.fingerUp(1);
    scene.frame();
}

TEST_CASE("style motion: a tap on what no finger moves leaves its motion alone")
{
    MotionScene scene(kGrow);
    auto& widget = scene.add("grow");
    widget.setCenterLocation({300.f, 200.f});
    scene.frame(0.0);
    scene.input.tap(1, {300.f, 200.f});
    scene.frames(2, 0.25);
    CHECK(widget.scale() == 0.75f);
}

// ---- Fades -------------------------------------------------------------------------------------------------------------

TEST_CASE("style motion: what the program fades keeps its time, whatever a style sheet moves")
{
    MotionScene scene("@keyframes glow { from, to { opacity: 0.5 } } "
                      ".f { position: absolute; width: 10px; height: 10px; transition: all 10s; animation: glow 10s }");
    const Bedrock::IntrusivePtr<Widget> widget(&scene.add("f"));
    scene.frame(0.0);
    CHECK(widget->opacity() == 0.5f);
    Trellis::FadeAnimator::fadeIn(*widget, 0.5f, 0.f);
    scene.frame(0.25);
    CHECK(widget->opacity() == near(0.25f));
    scene.frame(0.25);
    CHECK(widget->opacity() == 0.5f);
    Trellis::FadeAnimator::fadeOutAndDelete(*widget, 0.5f, 0.f);
    scene.frame(0.25);
    CHECK(widget->opacity() == near(0.25f));
    scene.frame(0.25);
    CHECK(widget->parent() == nullptr);
}

// ---- Frames ------------------------------------------------------------------------------------------------------------

TEST_CASE("style motion: an animation asks for frames until its end, and each damages what moved")
{
    MotionScene scene(kGrow);
    auto& widget = scene.add("grow");
    widget.setCenterLocation({300.f, 200.f});
    auto& inner = box(widget, {120.f, 0.f, 20.f, 20.f}, kRed);
    scene.frame(0.0);
    (void)scene.app.collectDamage();
    for (int i = 0; i < 4; ++i) {
        CHECK(scene.app.needsFrame());
        const auto before = inner.sceneBounds();
        scene.frame(0.25);
        const QRegion damage = scene.app.collectDamage();
        const auto after = inner.sceneBounds();
        CHECK(damage.contains(QRect(int(before.x) + 1, int(before.y) + 1, int(before.width) - 2, int(before.height) - 2)));
        CHECK(damage.contains(QRect(int(after.x) + 1, int(after.y) + 1, int(after.width) - 2, int(after.height) - 2)));
    }
    CHECK_FALSE(scene.app.needsFrame());
    scene.frame(0.25);
    CHECK(scene.app.collectDamage().isEmpty());
}

TEST_CASE("style motion: a size that changes while the widget grows is damaged with all that is in it")
{
    MotionScene scene(kGrow);
    auto& widget = scene.add("grow");
    widget.setCenterLocation({300.f, 200.f});
    auto& inner = box(widget, {-60.f, 0.f, 20.f, 20.f}, kRed);
    scene.frame(0.0);
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral(".grow { animation-play-state: paused }"),
                                                   QStringLiteral("test.css"));
    scene.frame(0.25);
    (void)scene.app.collectDamage();
    const auto before = inner.sceneBounds();
    widget.setSize({300.f, 60.f});
    scene.frame(0.25);
    const QRegion damage = scene.app.collectDamage();
    const auto after = inner.sceneBounds();
    CHECK(after.x > before.x + 40.f);
    CHECK(damage.contains(QRect(int(before.x) + 1, int(before.y) + 1, 8, 8)));
    CHECK(damage.contains(QRect(int(after.x) + 1, int(after.y) + 1, 8, 8)));
}

TEST_CASE("style motion: a frame in which 60 widgets move allocates nothing and restyles nothing")
{
    MotionScene scene("@keyframes sway { from { rotation: -0.1; scale: 0.9; opacity: 0.5; background-color: #aa0000 } } "
                      ".t { position: absolute; width: 90px; height: 60px; background-color: #0000aa; border-width: 2px; "
                      "border-color: #ffffff; transition: all 10s ease-out } "
                      ".sway { animation: sway 10s ease-in-out infinite alternate } "
                      ".to { location: 500px 400px; border-color: #00aa00; border-width: 6px; border-radius: 9px }");
    std::vector<Widget*> widgets;
    for (int i = 0; i < 60; ++i)
        widgets.push_back(&scene.add("t"));
    for (int i = 0; i < 60; ++i)
        widgets[std::size_t(i)]->setLocation({float(i % 10) * 100.f, float(i / 10) * 100.f});
    scene.frames(3);
    for (int i = 0; i < 60; ++i)
        widgets[std::size_t(i)]->addCSSClass(i % 2 == 0 ? "sway" : "to");
    scene.frames(5);
    const long restyled = Cascara::StyleEngine::instance().counters().nodesRestyled;
    const long allocations = FacetTest::allocations();
    scene.frames(20);
    CHECK(FacetTest::allocations() == allocations);
    CHECK(Cascara::StyleEngine::instance().counters().nodesRestyled == restyled);
    CHECK(widgets[0]->scale() != 0.9f);
    CHECK(widgets[0]->attribute("background-color")->toText() != QStringLiteral("#0000AA"));
}
