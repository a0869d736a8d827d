#include <doctest/doctest.h>

#include "../../facet/AllocationCounter.hpp"
#include "RecordingContext.hpp"
#include "Scene.hpp"

#include <Lantern/ImageTarget.hpp>
#include <Trellis/TextWidget.hpp>

#include <random>

using namespace TestSupport;
using namespace TrellisTest;
using Trellis::Widget;

namespace
{
QRegion damageOfFrame(Scene& scene)
{
    scene.frame();
    return scene.app.collectDamage();
}

/// A widget whose children are kept as pictures.
Widget& keeper(Scene& scene, Vecta::Vector2f size)
{
    Widget& main = place(*new Widget(&scene.root()), {0, 0, size.x, size.y});
    scene.app.keepPicturesOf(main);
    return main;
}

/// Counts the reports of another size in the scene.
class Sized final : public Widget
{
public:
    using Widget::Widget;
    void sceneSizeChanged() override { ++reports; }
    int reports = 0;
};

/// A widget of that width with small boxes of two colours, side by side in lines.
Widget& lines(Widget& parent, const Vecta::Rect& rect, int boxes)
{
    Cascara::StyleEngine::instance().addStyleSheet(
        QStringLiteral(".in-line { display: inline; width: 10px; height: 10px; background-color: #f00 }"
                       ".in-line:nth-child(3n) { background-color: #00f8 }"),
        QStringLiteral("lines.css"));
    auto& result = place(*new Widget(&parent), rect);
    for (int i = 0; i < boxes; ++i)
        (new Widget(&result))->addCSSClass("in-line");
    return result;
}

/// `QRegion::contains` asks for any part of the rectangle.
bool covers(const QRegion& region, const QRect& rect)
{
    return (QRegion(rect) - region).isEmpty();
}

double pixelsIn(const QRegion& region)
{
    double result = 0.0;
    for (const QRect& rect : region)
        result += double(rect.width()) * rect.height();
    return result;
}
}

TEST_CASE("damage: the first frame damages the whole table, the next one nothing")
{
    Scene scene(kSmall);
    box(scene.root(), {10, 10, 20, 20}, kRed);
    CHECK(damageOfFrame(scene) == QRegion(0, 0, 200, 200));
    CHECK(damageOfFrame(scene).isEmpty());
    CHECK(scene.app.damage().empty());
    CHECK_FALSE(scene.app.needsFrame());
}

TEST_CASE("damage: a widget that moves damages where it was and where it is")
{
    Scene scene(kSmall);
    Widget& widget = box(scene.root(), {10, 10, 20, 20}, kRed);
    box(scene.root(), {10, 100, 20, 20}, kRed);
    damageOfFrame(scene);
    widget.setLocation({100, 50});
    QRegion expected(10, 10, 20, 20);
    expected += QRect(100, 50, 20, 20);
    CHECK(damageOfFrame(scene) == expected);
    CHECK(damageOfFrame(scene).isEmpty());
}

TEST_CASE("damage: what stands in a moving widget is damaged along, also outside it")
{
    Scene scene(kSmall);
    Widget& widget = box(scene.root(), {10, 10, 20, 20}, kRed);
    box(widget, {50, 0, 10, 10}, kBlue);
    damageOfFrame(scene);
    widget.setLocation({10, 100});
    CHECK(damageOfFrame(scene) == QRegion(10, 10, 60, 20) + QRect(10, 100, 60, 20));
}

TEST_CASE("damage: another colour damages the widget only")
{
    Scene scene(kSmall);
    Widget& widget = box(scene.root(), {10, 10, 20, 20}, kRed);
    box(widget, {50, 0, 10, 10}, kBlue);
    damageOfFrame(scene);
    set(widget, "background-color", kGreen);
    CHECK(damageOfFrame(scene) == QRegion(10, 10, 20, 20));
}

TEST_CASE("damage: a widget that is added, removed or hidden damages its place")
{
    Scene scene(kSmall);
    damageOfFrame(scene);
    Widget& widget = box(scene.root(), {10, 10, 20, 20}, kRed);
    CHECK(damageOfFrame(scene) == QRegion(10, 10, 20, 20));
    widget.setOpacity(0.f);
    CHECK(damageOfFrame(scene) == QRegion(10, 10, 20, 20));
    widget.setLocation({50, 50});
    CHECK(damageOfFrame(scene).isEmpty());
    widget.setOpacity(1.f);
    CHECK(damageOfFrame(scene) == QRegion(50, 50, 20, 20));
    widget.removeFromParent();
    CHECK(damageOfFrame(scene) == QRegion(50, 50, 20, 20));
    CHECK(damageOfFrame(scene).isEmpty());
}

TEST_CASE("damage: a widget that comes and goes between two frames leaves no trace")
{
    Scene scene(kSmall);
    damageOfFrame(scene);
    Widget& widget = box(scene.root(), {10, 10, 20, 20}, kRed);
    widget.removeFromParent();
    CHECK(damageOfFrame(scene).isEmpty());
}

TEST_CASE("damage: areas outside the table and outside a clipping parent do not count")
{
    Scene scene(kSmall);
    Widget& frame = box(scene.root(), {10, 10, 50, 50}, kRed);
    Facet::StyleValue hidden;
    hidden.terms.append({Facet::StyleTerm::Kind::Ident, QStringLiteral("hidden"), 0.0, {}});
    REQUIRE(frame.attribute("overflow")->setStyleValue(hidden, Facet::kUserLayer, nullptr));
    Widget& inner = box(frame, {0, 0, 500, 20}, kBlue);
    damageOfFrame(scene);
    set(inner, "background-color", kGreen);
    CHECK(damageOfFrame(scene) == QRegion(10, 10, 50, 20));
    inner.setLocation({-600, 0});
    CHECK(damageOfFrame(scene) == QRegion(10, 10, 50, 20));
    inner.setLocation({-700, 0});
    CHECK(damageOfFrame(scene).isEmpty());
}

TEST_CASE("damage: what reaches out of a widget is damaged along when that moves, kept as a picture or not yet")
{
    for (const int settled : {0, 3}) {
        CAPTURE(settled);
        Scene scene(kSmall);
        Widget& root = box(keeper(scene, kSmall), {20, 20, 30, 30}, kRed);
        Widget& child = box(root, {40, 0, 10, 10}, kBlue);
        damageOfFrame(scene);
        for (int frame = 0; frame < settled; ++frame)
            damageOfFrame(scene);
        root.setLocation({20, 120});
        QRegion damage = damageOfFrame(scene);
        for (const QRect& area : {QRect(20, 20, 30, 30), QRect(60, 20, 10, 10), QRect(20, 120, 30, 30), QRect(60, 120, 10, 10)})
            CHECK(covers(damage, area));
        child.setLocation({90, 20});
        damage = damageOfFrame(scene);
        CHECK(covers(damage, QRect(60, 120, 10, 10)));
        CHECK(covers(damage, QRect(110, 140, 10, 10)));
        CHECK_FALSE(damage.intersects(QRect(0, 0, 200, 100)));
        // Where the child is by now, and where it was.
        root.setLocation({20, 20});
        child.setLocation({0, 90});
        damage = damageOfFrame(scene);
        CHECK(covers(damage, QRect(110, 140, 10, 10)));
        CHECK(covers(damage, QRect(20, 110, 10, 10)));
    }
}

TEST_CASE("damage: what is hidden moves without damage, and counts where it shows again")
{
    Scene scene(kSmall);
    Widget& root = box(keeper(scene, kSmall), {20, 20, 30, 30}, kRed);
    Widget& child = box(root, {40, 0, 10, 10}, kBlue);
    for (int frame = 0; frame < 3; ++frame)
        damageOfFrame(scene);
    root.setOpacity(0.f);
    CHECK(covers(damageOfFrame(scene), QRect(60, 20, 10, 10)));
    root.setLocation({20, 120});
    child.setLocation({60, 0});
    CHECK(damageOfFrame(scene).isEmpty());
    root.setOpacity(1.f);
    const QRegion damage = damageOfFrame(scene);
    CHECK(covers(damage, QRect(20, 120, 30, 30)));
    CHECK(covers(damage, QRect(80, 120, 10, 10)));
    CHECK_FALSE(damage.intersects(QRect(0, 0, 200, 110)));
}

TEST_CASE("damage: of one sharp box every pixel counts and none beside it, and of one that was turned those beside it too")
{
    Scene scene(kSmall);
    Widget& root = box(keeper(scene, kSmall), {20, 20, 30, 30}, kRed);
    damageOfFrame(scene);
    root.setLocation({100, 100});
    CHECK(damageOfFrame(scene) == QRegion(20, 20, 30, 30) + QRegion(100, 100, 30, 30));
    root.setRotation(0.7853981f);
    damageOfFrame(scene);
    root.setRotation(0.f);
    // Its tip is smooth.
    CHECK(covers(damageOfFrame(scene), QRect(99, 141, 2, 2)));
}

TEST_CASE("damage: around what is large and turned the corners in which nothing of it shows are left alone")
{
    constexpr Vecta::Vector2f kLarge{1000.f, 800.f};
    Scene scene(kLarge);
    Widget& root = box(keeper(scene, kLarge), {300, 50, 600, 300}, kRed);
    box(root, {20, 20, 50, 50}, kBlue);
    root.setRotation(0.6f);
    for (int frame = 0; frame < 3; ++frame)
        damageOfFrame(scene);
    const double size = 600.0 * 300.0;
    const double upright = double(root.sceneBounds().width) * double(root.sceneBounds().height);
    root.setLocation({303, 52});
    const QRegion moved = damageOfFrame(scene);
    CHECK(pixelsIn(moved) > size);
    CHECK(pixelsIn(moved) < size + 0.3 * (upright - size));
    root.setRotation(0.61f);
    const QRegion turned = damageOfFrame(scene);
    CHECK(pixelsIn(turned) > size);
    CHECK(pixelsIn(turned) < size + 0.3 * (upright - size));
    // It is not kept meanwhile.
    root.setRotation(0.62f);
    CHECK(pixelsIn(damageOfFrame(scene)) < size + 0.3 * (upright - size));
}

TEST_CASE("damage: many small changes are merged to few rectangles that cover them all")
{
    Scene scene(kSmall);
    std::vector<Widget*> widgets;
    for (int i = 0; i < 10; ++i)
        for (int j = 0; j < 10; ++j)
            widgets.push_back(&box(scene.root(), {float(20 * i), float(20 * j), 5, 5}, kRed));
    damageOfFrame(scene);
    for (Widget* widget : widgets)
        set(*widget, "background-color", kGreen);
    scene.frame();
    CHECK(scene.app.damage().size() <= 32);
    const QRegion damage = scene.app.collectDamage();
    for (int i = 0; i < 10; ++i)
        for (int j = 0; j < 10; ++j)
            CHECK(covers(damage, QRect(20 * i, 20 * j, 5, 5)));
}

TEST_CASE("damage: only the widgets in the damage are drawn")
{
    Scene scene(kSmall);
    for (int i = 0; i < 10; ++i)
        box(scene.root(), {float(20 * i), 0, 10, 10}, kRed);
    damageOfFrame(scene);
    Widget& widget = *scene.root().children()[3];
    widget.setLocation({60, 100});
    const QRect bounds = damageOfFrame(scene).boundingRect();
    RecordingContext context({float(bounds.x()), float(bounds.y()), float(bounds.width()), float(bounds.height())});
    scene.app.render(context);
    CHECK(context.count(RecordingContext::Call::Kind::Rect) == 1);
}

TEST_CASE("damage: drawing only the damage gives the same picture as drawing everything")
{
    Scene scene(kSmall);
    std::mt19937 random(7);
    const auto number = [&](int limit) { return float(random() % unsigned(limit)); };
    std::vector<Widget*> widgets;
    for (int i = 0; i < 12; ++i) {
        Widget& parent = i % 3 == 0 || widgets.empty() ? scene.root() : *widgets[std::size_t(number(int(widgets.size())))];
        Widget& widget = box(parent, {number(100), number(100), 20 + number(60), 20 + number(60)},
                             {number(100) / 100, number(100) / 100, number(100) / 100, 1});
        widgets.push_back(&widget);
    }
    Lantern::ImageTarget kept({200, 200});
    for (int step = 0; step < 150; ++step) {
        Widget& widget = *widgets[std::size_t(number(int(widgets.size())))];
        switch (random() % 6) {
        case 0: widget.setLocation({number(150), number(150)}); break;
        case 1: widget.setRotation(number(100) / 16); break;
        case 2: widget.setScale(0.5f + number(100) / 100); break;
        case 3: widget.setOpacity(number(4) / 3); break;
        case 4: widget.raiseToTop(); break;
        case 5: widget.setSize({20 + number(80), 20 + number(80)}); break;
        }
        scene.frame();
        kept.paint(scene.app.collectDamage(), [&](Lantern::RenderContext& context) { scene.app.render(context); });
        REQUIRE_MESSAGE(kept.image() == scene.picture(), "step " << step);
    }
}

TEST_CASE("damage: a frame in which nothing changed allocates nothing")
{
    Scene scene(kSmall);
    for (int i = 0; i < 50; ++i)
        box(scene.root(), {float(i), float(i), 20, 20}, kRed);
    auto text = Bedrock::makeIntrusive<Trellis::TextWidget>(&scene.root());
    text->setText(QStringLiteral("Ann"));
    scene.frame();
    (void)scene.app.collectDamage();
    scene.frame();
    const long before = FacetTest::allocations();
    for (int i = 0; i < 10; ++i)
        scene.frame();
    CHECK(FacetTest::allocations() == before);
}

TEST_CASE("damage: listeners to places that answer each other for ever keep no widget from being drawn or removed")
{
    Scene scene(kSmall);
    Widget& first = box(scene.root(), {10, 10, 20, 20}, kRed);
    Widget& second = box(scene.root(), {50, 10, 20, 20}, kRed);
    Widget& third = box(scene.root(), {90, 10, 20, 20}, kRed);
    int answers = 0;
    bool answering = true;
    const auto answer = [&](Widget& other) {
        // Each change of a height moves what is below it, which changes a height again.
        if (answering)
            set(other, "height", Trellis::Length::pixels(float(20 + ++answers % 7)));
    };
    auto flowing = Bedrock::makeIntrusive<Widget>();
    scene.root().addChild(flowing);
    auto below = Bedrock::makeIntrusive<Widget>();
    scene.root().addChild(below);
    set(*flowing, "height", Trellis::Length::pixels(10.f));
    below->attribute("location")->addListener([&] {
        answer(*flowing);
        set(third, "opacity", third.opacity() < 1.f ? 1.f : 0.5f);
    });
    answer(*flowing);
    for (int frame = 0; frame < 20; ++frame) {
        second.setLocation({50.f, float(frame)});
        CHECK_FALSE(damageOfFrame(scene).isEmpty());
    }
    answering = false;
    third.removeFromParent();
    scene.frame();
    damageOfFrame(scene);
    first.setLocation({100, 100});
    QRegion expected(10, 10, 20, 20);
    expected += QRect(100, 100, 20, 20);
    CHECK(damageOfFrame(scene) == expected);
}

TEST_CASE("damage: the ground of the table is damaged as a whole, also after a change of something that stands elsewhere")
{
    Scene scene(kSmall);
    Widget& inner = box(box(scene.root(), {120, 120, 60, 60}, kRed), {5, 5, 10, 10}, kBlue);
    damageOfFrame(scene);
    set(inner, "background-color", kGreen);
    CHECK(damageOfFrame(scene) == QRegion(125, 125, 10, 10));
    set(scene.root(), "background-color", kBlue);
    CHECK(damageOfFrame(scene) == QRegion(0, 0, 200, 200));
}

TEST_CASE("damage: what is in a widget is told of another size in the scene, and not of another place, direction or opacity")
{
    for (const bool isKept : {false, true}) {
        CAPTURE(isKept);
        Scene scene(kSmall);
        Widget& outer = box(isKept ? keeper(scene, kSmall) : scene.root(), {10, 10, 100, 100}, kRed);
        auto& inner = *new Sized(&place(*new Widget(&outer), {5, 5, 50, 50}));
        const auto reportsAfter = [&](auto change) {
            scene.frame();
            const int before = inner.reports;
            change();
            scene.frame();
            return inner.reports - before;
        };
        CHECK(reportsAfter([&] { outer.setLocation({20, 20}); }) == 0);
        CHECK(reportsAfter([&] { outer.setRotation(1.f); }) == 0);
        CHECK(reportsAfter([&] { outer.setOpacity(0.5f); }) == 0);
        CHECK(reportsAfter([&] { set(outer, "background-color", kBlue); }) == 0);
        CHECK(reportsAfter([&] { outer.setScale(2.f); }) == 1);
        CHECK(reportsAfter([&] { outer.setOpacity(0.f); }) == 0);
        CHECK(reportsAfter([&] { outer.setScale(3.f); }) == 0);
        CHECK(reportsAfter([&] { outer.setOpacity(1.f); }) == 1);
        // Once, though its parent is reported as well.
        CHECK(reportsAfter([&] {
                  outer.setScale(2.f);
                  inner.parent()->setScale(2.f);
              })
              == 1);
        CHECK(reportsAfter([&] { inner.setSize({7, 7}); }) == 1);
        CHECK(reportsAfter([&] { inner.setLocation({7, 7}); }) == 0);
    }
}

TEST_CASE("damage: many children that are laid out anew are one area, of all that their parent covered and covers")
{
    for (const bool isKept : {false, true}) {
        CAPTURE(isKept);
        Scene scene(kSmall);
        Widget& root = box(isKept ? keeper(scene, kSmall) : scene.root(), {10, 10, 180, 180}, kWhite);
        Widget& area = lines(root, {20, 20, 100, 20}, 40);
        for (int frame = 0; frame < 3; ++frame)
            damageOfFrame(scene);
        set(area, "width", Trellis::Length::pixels(50.f));
        scene.frame();
        CHECK(scene.app.damage().size() == 1);
        // Eight lines now.
        CHECK(scene.app.collectDamage().boundingRect() == QRect(30, 30, 100, 80));
        CHECK(damageOfFrame(scene).isEmpty());
    }
}

TEST_CASE("damage: few children that are laid out anew damage their own places")
{
    Scene scene(kSmall);
    Widget& area = lines(scene.root(), {20, 20, 100, 100}, 60);
    damageOfFrame(scene);
    // Of sixty, only those of the last two lines move on.
    set(*area.children()[40], "width", Trellis::Length::pixels(20.f));
    CHECK(damageOfFrame(scene) == QRegion(20, 60, 100, 20) + QRect(20, 80, 10, 10));
}

TEST_CASE("damage: a child among many that are laid out anew may hide, show, or go somewhere else at the same time")
{
    Scene scene(kSmall);
    Widget& area = lines(scene.root(), {20, 20, 100, 20}, 40);
    Lantern::ImageTarget shown({200, 200});
    const auto checkShown = [&] {
        scene.frame();
        shown.paint(scene.app.collectDamage(), [&](Lantern::RenderContext& context) { scene.app.render(context); });
        CHECK(shown.image() == scene.picture());
    };
    checkShown();
    const auto layOut = [&](float width) {
        set(area, "width", Trellis::Length::pixels(width));
        (void)area.size();
    };
    Widget& first = *area.children()[5];
    layOut(50.f);
    first.setOpacity(0.f);
    checkShown();
    layOut(100.f);
    first.setOpacity(1.f);
    checkShown();
    first.setLocation({10, 100});
    checkShown();
    layOut(60.f);
    first.setLocation({60, 150});
    checkShown();
    first.setLocation({5, 5});
    checkShown();
    layOut(100.f);
    scene.root().addChild(*area.children()[7]);
    checkShown();
    layOut(60.f);
    area.children()[9]->removeFromParent();
    area.setLocation({40, 40});
    checkShown();
    layOut(100.f);
    area.removeFromParent();
    checkShown();
}

TEST_CASE("damage: half a pixel counts around what is scaled, also in a widget that moves, and in one that is scaled itself")
{
    Scene scene(kSmall);
    Widget& outer = box(scene.root(), {10, 10, 20, 20}, kRed);
    box(outer, {10, 0, 10, 10}, kBlue).setScale(2.f);
    damageOfFrame(scene);
    outer.setLocation({10, 100});
    CHECK(damageOfFrame(scene) == QRegion(9, 9, 32, 22) + QRect(9, 99, 32, 22));
    outer.children()[0]->removeFromParent();
    outer.setScale(2.f);
    Widget& inner = box(outer, {0, 0, 10, 10}, kBlue);
    damageOfFrame(scene);
    inner.setLocation({0, 20});
    CHECK(damageOfFrame(scene) == QRegion(9, 99, 22, 22) + QRect(9, 139, 22, 22));
}

TEST_CASE("damage: half a pixel counts around a widget in which one child is scaled, whatever stands above that")
{
    Scene scene(kSmall);
    Widget& outer = box(scene.root(), {10, 10, 20, 20}, kRed);
    box(outer, {10, 0, 10, 10}, kBlue).setScale(2.f);
    box(outer, {0, 0, 5, 5}, kGreen);
    damageOfFrame(scene);
    outer.setLocation({10, 100});
    CHECK(damageOfFrame(scene) == QRegion(9, 9, 32, 22) + QRect(9, 99, 32, 22));
}

TEST_CASE("damage: half a pixel is one of the screen, which may be larger than one of the table")
{
    Scene scene(kSmall);
    scene.app.setScreenScale({0.5f, 0.5f});
    Widget& outer = box(scene.root(), {10.6f, 10.6f, 20, 20}, kRed);
    box(outer, {10, 0, 10, 10}, kBlue).setScale(2.f);
    damageOfFrame(scene);
    outer.setLocation({10.6f, 100.6f});
    CHECK(damageOfFrame(scene).boundingRect() == QRect(QPoint(9, 9), QPoint(41, 121)));
}

TEST_CASE("damage: a pixel counts around what is kept as a picture where what holds it moves or goes")
{
    Scene scene(kSmall);
    Widget& main = keeper(scene, {10, 10});
    box(box(main, {20, 20, 30, 30}, kRed), {5, 5, 5, 5}, kBlue);
    for (int frame = 0; frame < 3; ++frame)
        damageOfFrame(scene);
    main.setLocation({100, 0});
    QRegion damage = damageOfFrame(scene);
    CHECK(covers(damage, QRect(19, 19, 32, 32)));
    CHECK(covers(damage, QRect(119, 19, 32, 32)));
    main.removeFromParent();
    damage = damageOfFrame(scene);
    CHECK(covers(damage, QRect(119, 19, 32, 32)));
    CHECK_FALSE(damage.intersects(QRect(0, 0, 90, 200)));
}

TEST_CASE("damage: a widget that is given what holds kept pictures has their places in its own moves")
{
    Scene scene(kSmall);
    Widget& main = keeper(scene, kSmall);
    Widget& root = box(main, {20, 20, 30, 30}, kRed);
    box(root, {5, 5, 5, 5}, kBlue);
    auto& outer = place(*new Widget(&scene.root()), {0, 0, 200, 200});
    outer.addChild(main);
    for (int frame = 0; frame < 3; ++frame)
        damageOfFrame(scene);
    outer.setLocation({100, 0});
    damageOfFrame(scene);
    root.setLocation({20, 120});
    const QRegion damage = damageOfFrame(scene);
    CHECK(covers(damage, QRect(120, 20, 30, 30)));
    CHECK(covers(damage, QRect(120, 120, 30, 30)));
}

TEST_CASE("damage: a child that begins to show is told its size, also where most of its siblings are laid out anew")
{
    Scene scene(kSmall);
    Widget& area = lines(scene.root(), {20, 20, 100, 20}, 40);
    auto& child = *new Sized(&area);
    child.addCSSClass("in-line");
    child.setOpacity(0.f);
    damageOfFrame(scene);
    const int before = child.reports;
    set(area, "width", Trellis::Length::pixels(50.f));
    (void)area.size();
    child.setOpacity(1.f);
    scene.frame();
    CHECK(child.reports == before + 1);
}

TEST_CASE("damage: many kept children that are laid out anew damage their own places")
{
    Scene scene(kSmall);
    Widget& area = lines(scene.root(), {20, 20, 100, 100}, 40);
    scene.app.keepPicturesOf(area);
    for (int frame = 0; frame < 3; ++frame)
        damageOfFrame(scene);
    set(*area.children()[0], "width", Trellis::Length::pixels(20.f));
    const QRegion damage = damageOfFrame(scene);
    CHECK(covers(damage, QRect(20, 20, 100, 40)));
    CHECK(covers(damage, QRect(20, 60, 10, 10)));
    CHECK_FALSE(damage.intersects(QRect(20, 75, 100, 40)));
}

TEST_CASE("damage: of what leaves a pixel that its clip cuts through, that pixel counts")
{
    // Both colour shares of the row of pixels in which they meet only as shares. The same at each side, and on a finer screen.
    for (const float scale : {1.f, 2.f})
        for (const Vecta::Vector2f place : {Vecta::Vector2f{20, 50.6f}, {20, -30.1f}, {50.6f, 20}, {-30.1f, 20}}) {
            CAPTURE(scale);
            CAPTURE(place.x);
            CAPTURE(place.y);
            Scene scene(kSmall);
            scene.app.setScreenScale({scale, scale});
            Widget& group = box(scene.root(), {70.2f / scale, 70.2f / scale, 50.f / scale, 50.f / scale}, {0, 0, 0, 0});
            style(group, "overflow: hidden; border-radius: 4px");
            const auto inGroup = [&](Vecta::Vector2f at) {
                return Vecta::Rect{at.x / scale, at.y / scale, 30.f / scale, 30.f / scale};
            };
            Widget& child = box(group, inGroup(place), kWhite);
            const auto paint = [&](const QRegion& damage, Lantern::ImageTarget& target) {
                target.paint(damage, [&](Lantern::RenderContext& context) {
                    context.pushTransform(Vecta::Transform::scaling(scale));
                    scene.app.render(context);
                    context.pop();
                });
            };
            scene.frame();
            (void)scene.app.collectDamage();
            const QRect all(0, 0, 200, 200);
            Lantern::ImageTarget shown(all.size()), whole(all.size());
            paint(all, shown);
            REQUIRE(litBounds(shown.image()).isValid());
            TrellisTest::place(child, inGroup({10, 10}));
            scene.frame();
            QRegion damage;
            for (const Vecta::Rect& area : scene.app.damage())
                damage += QRectF(area.x * scale, area.y * scale, area.width * scale, area.height * scale).toAlignedRect();
            paint(damage, shown);
            paint(all, whole);
            CHECK_PICTURE(shown.image(), whole.image(), 0);
        }
}
