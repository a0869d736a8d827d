#include "Scene.hpp"

using Bedrock::makeIntrusive;
using Trellis::Widget;
using Vecta::Vector2f;
using namespace TrellisTest;

TEST_CASE("geometry: a point goes through scale, then rotation, then location")
{
    Scene scene;
    auto& widget = scene.box(100, 200, 50, 20, "scale: 2; rotation: 90deg;");
    CHECK_POINT(widget.mapToParent({0, 0}), 100, 200);
    CHECK_POINT(widget.mapToParent({10, 0}), 100, 220);
    CHECK_POINT(widget.mapToParent({0, 10}), 80, 200);
    CHECK_POINT(widget.mapFromParent({80, 220}), 10, 10);
}

TEST_CASE("geometry: maps through scaled and rotated ancestors and back")
{
    Scene scene;
    auto& outer = scene.box(100, 100, 200, 200, "scale: 2; rotation: 90deg;");
    auto* inner = new Widget(&outer);
    style(*inner, "position: absolute; left: 10px; top: 0; width: 40px; height: 40px; scale: 0.5; rotation: -90deg;");
    CHECK_POINT(inner->mapToScene({0, 0}), 100, 120);
    // The rotations cancel out, and so do the scales.
    CHECK_POINT(inner->mapToScene({4, 6}), 104, 126);
    CHECK_POINT(inner->mapFromScene({104, 126}), 4, 6);
    CHECK_POINT(inner->transformToScene().map({4, 6}), 104, 126);
    const Vecta::Rect bounds = inner->sceneBounds();
    CHECK(bounds.x == near(100));
    CHECK(bounds.width == near(40));
}

TEST_CASE("geometry: the centre is set with scale and rotation taken into account")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 100, 50, "scale: 2; rotation: 30deg;");
    widget.setCenterLocation({400, 300});
    CHECK_POINT(widget.centerLocation(), 400, 300);
    CHECK_POINT(widget.mapToParent({50, 25}), 400, 300);
}

TEST_CASE("geometry: rotating about the centre leaves the centre where it is")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 80, 40, "scale: 1.5;");
    const Vector2f before = widget.centerLocation();
    for (const float angle : {0.3f, 1.7f, -2.f, 0.f}) {
        widget.setRotationAboutCenter(angle);
        CHECK(widget.rotation() == near(angle));
        CHECK_POINT(widget.centerLocation(), before.x, before.y);
    }
    CHECK_POINT(widget.location(), 100, 100);
}

TEST_CASE("geometry: rotating about a scene point leaves that point of the widget where it is, in a turned parent too")
{
    Scene scene;
    auto& outer = scene.box(300, 100, 400, 400, "scale: 0.5; rotation: 40deg;");
    auto* inner = new Widget(&outer);
    style(*inner, "position: absolute; left: 50px; top: 60px; width: 100px; height: 100px; scale: 1.4; rotation: 10deg;");
    const Vector2f point = inner->mapToScene({20, 70});
    inner->setRotationAboutScenePoint(1.2f, point);
    CHECK(inner->rotation() == near(1.2f));
    CHECK_POINT(inner->mapToScene({20, 70}), point.x, point.y);
}

TEST_CASE("geometry: setting location or centre calls listeners once")
{
    Scene scene;
    auto& widget = scene.box(0, 0, 100, 100);
    (void)widget.location();
    int changes = 0;
    widget.attribute("location")->addListener([&] { ++changes; });
    widget.setLocation({30, 40});
    CHECK(changes == 1);
    widget.setCenterLocation({200, 200});
    CHECK(changes == 2);
    widget.setCenterLocation({200, 200});
    CHECK(changes == 2);
}

TEST_CASE("geometry: turned rectangles intersect only where they really overlap")
{
    Scene scene;
    auto& diamond = scene.box(200, 100, 100, 100, "rotation: 45deg;"); // corners: 200/100, 271/171, 200/241, 129/171
    auto& inCorner = scene.box(250, 100, 20, 20);                      // inside the bounding box, outside the diamond
    auto& inside = scene.box(190, 160, 20, 20);
    CHECK(diamond.sceneBounds().intersects(inCorner.sceneBounds()));
    CHECK_FALSE(diamond.intersects(inCorner));
    CHECK_FALSE(inCorner.intersects(diamond));
    CHECK(diamond.intersects(inside));
    CHECK(inside.intersects(diamond));
}

TEST_CASE("geometry: rectangles of nested coordinates are compared in the scene")
{
    Scene scene;
    auto& outer = scene.box(100, 100, 100, 100, "scale: 2;");
    auto* inner = new Widget(&outer);
    style(*inner, "position: absolute; left: 90px; top: 0; width: 20px; height: 20px;");
    auto& neighbour = scene.box(305, 100, 50, 50);
    CHECK(inner->intersects(neighbour)); // 280 to 320
    CHECK(inner->intersects(outer));
    inner->setLocation({110, 0}); // 320 to 360
    CHECK_FALSE(inner->intersects(outer));
}

TEST_CASE("geometry: widgets of different trees do not intersect")
{
    const auto a = makeIntrusive<Widget>();
    const auto b = makeIntrusive<Widget>();
    a->setSize({10, 10});
    b->setSize({10, 10});
    CHECK_FALSE(a->intersects(*b));
}

TEST_CASE("geometry: the left and top edge belong to a widget, the right and bottom edge do not")
{
    const auto widget = makeIntrusive<Widget>();
    widget->setSize({10, 20});
    CHECK(widget->isInside({0, 0}));
    CHECK(widget->isInside({9.9f, 19.9f}));
    CHECK_FALSE(widget->isInside({10, 5}));
    CHECK_FALSE(widget->isInside({5, 20}));
    CHECK_FALSE(widget->isInside({-0.1f, 5}));
}

TEST_CASE("geometry: a widget scaled to nothing maps to its origin and is no trap")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 50, 50, "scale: 0;");
    CHECK_POINT(widget.mapFromScene({120, 130}), 0, 0);
    scene.input.tap(1, {100, 100});
    EventCount taps(widget, "single-tap");
    scene.frames();
    CHECK(taps.count == 0);
}

TEST_CASE("geometry: a widget is visible unless it or an ancestor is hidden or transparent")
{
    Scene scene;
    auto& outer = scene.box(0, 0, 100, 100);
    auto* inner = new Widget(&outer);
    CHECK(inner->isVisible());
    outer.setOpacity(0.f);
    CHECK_FALSE(inner->isVisible());
    outer.setOpacity(0.1f);
    CHECK(inner->isVisible());
    style(outer, "display: none;");
    CHECK_FALSE(inner->isVisible());
}

namespace
{
/// Shows what its subclasses see.
struct Framed final : Widget
{
    using Widget::contentBox;
    using Widget::Widget;
};
}

TEST_CASE("geometry: the content box is the widget without its padding")
{
    Scene scene;
    // The container is 200 wide, its content 160: what percentages in the flow mean. Out of the flow the container counts.
    auto& container = scene.box(50, 50, 200, 200, "padding: 0 20px;");
    struct Row
    {
        const char* declarations;
        float x, y, width, height;
    };
    const Row rows[] = {
        {"width: 100px; height: 60px", 0, 0, 100, 60},
        {"width: 100px; height: 60px; padding: 1px 2px 3px 4px", 4, 1, 94, 56},
        {"width: 100px; height: 60px; padding: 10%", 16, 16, 68, 28},
        {"width: 100px; height: 60px; padding: 10%; position: absolute", 20, 20, 60, 20},
        {"width: 100px; height: 60px; padding: 10px; scale: 2; rotation: 90deg", 10, 10, 80, 40},
        {"width: 10px; height: 60px; padding: 0 20px", 20, 0, 0, 60}, // nothing is left, and no less than that
    };
    for (const Row& row : rows) {
        CAPTURE(row.declarations);
        auto* widget = new Framed(&container);
        style(*widget, row.declarations);
        const Vecta::Rect box = widget->contentBox();
        CHECK(box.x == near(row.x));
        CHECK(box.y == near(row.y));
        CHECK(box.width == near(row.width));
        CHECK(box.height == near(row.height));
        widget->removeFromParent();
    }
}

TEST_CASE("geometry: the content box is up to date with a padding that has just changed")
{
    Scene scene;
    const auto widget = makeIntrusive<Framed>(scene.app.mainLayer().get());
    widget->setSize({100, 60});
    CHECK(widget->contentBox().x == near(0));
    widget->addCSSClass("tight");
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral(".tight { padding: 5px }"), QStringLiteral("test.css"));
    CHECK(widget->contentBox().x == near(5));
    CHECK(widget->contentBox().width == near(90));
    widget->removeCSSClass("tight");
    CHECK(widget->contentBox().width == near(100));
}
