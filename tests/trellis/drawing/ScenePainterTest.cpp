#include <doctest/doctest.h>

#include "RecordingContext.hpp"
#include "Scene.hpp"

#include <Lantern/ImageTarget.hpp>
#include <Trellis/Application.hpp>

using namespace TestSupport;
using namespace TrellisTest;
using Call = RecordingContext::Call;
using Trellis::Widget;

namespace
{
/// As the widget tree draws it, beside the same drawn by hand in scene coordinates.
void setWord(Widget& widget, const char* attribute, const char* word)
{
    Facet::StyleValue value;
    value.terms.append({Facet::StyleTerm::Kind::Ident, QString::fromLatin1(word), 0.0, {}});
    QString error;
    REQUIRE_MESSAGE(widget.attribute(attribute)->setStyleValue(value, Facet::kUserLayer, &error), error.toStdString());
}

RecordingContext recorded(Scene& scene)
{
    RecordingContext context;
    scene.app.render(context);
    CHECK(context.depth() == 0);
    return context;
}
}

TEST_CASE("scene painter: a nested, turned and scaled widget stands where the transforms put it")
{
    const QImage expected = pictureOf([](Scene& scene) { box(scene.root(), {20, 30, 30, 20}, kRed); });
    Scene scene(kSmall);
    Widget& outer = box(scene.root(), {60, 20, 100, 100}, {0, 0, 0, 0});
    outer.setRotation(kPi / 2);
    outer.setScale(0.5f);
    box(outer, {20, 20, 40, 60}, kRed);
    // (x, y) of the outer widget stands at (60 - y / 2, 20 + x / 2).
    CHECK_PICTURE(scene.picture(), expected, 1);
    CHECK(litBounds(scene.picture()) == QRect(20, 30, 30, 20));
}

TEST_CASE("scene painter: children cover their parent, later siblings cover earlier ones, and raising changes that")
{
    Scene scene(kSmall);
    Widget& a = box(scene.root(), {0, 0, 100, 100}, kRed);
    box(a, {50, 50, 50, 50}, kGreen);
    Widget& b = box(scene.root(), {75, 75, 50, 50}, kBlue);
    (void)b;
    QImage image = scene.picture();
    CHECK(image.pixelColor(10, 10) == QColor(Qt::red));
    CHECK(image.pixelColor(60, 60) == QColor(Qt::green));
    CHECK(image.pixelColor(90, 90) == QColor(Qt::blue));
    a.raiseToTop();
    image = scene.picture();
    CHECK(image.pixelColor(90, 90) == QColor(Qt::green));
}

TEST_CASE("scene painter: a half transparent group fades as one picture")
{
    const QImage faded = pictureOf([](Scene& scene) {
        Widget& group = box(scene.root(), {10, 10, 100, 100}, kRed);
        box(group, {50, 50, 80, 80}, kBlue);
        group.setOpacity(0.5f);
    });
    const QImage darker = pictureOf([](Scene& scene) {
        Widget& ground = box(scene.root(), {10, 10, 100, 100}, {0.5f, 0, 0, 1});
        box(ground, {50, 50, 80, 80}, {0, 0, 0.5f, 1});
    });
    CHECK_PICTURE(faded, darker, 2);
    CHECK(litBounds(faded) == QRect(10, 10, 130, 130));
}

TEST_CASE("scene painter: nested fading groups multiply")
{
    Scene scene(kSmall);
    Widget& group = box(scene.root(), {10, 10, 100, 100}, {0, 0, 0, 0});
    Widget& inner = box(group, {10, 10, 50, 50}, kWhite);
    box(inner, {20, 20, 50, 50}, kWhite);
    group.setOpacity(0.5f);
    inner.setOpacity(0.5f);
    CHECK(scene.picture().pixelColor(25, 25).red() == doctest::Approx(64).epsilon(0.05));
    CHECK(scene.picture().pixelColor(55, 55).red() == doctest::Approx(64).epsilon(0.05));
}

TEST_CASE("scene painter: only a fading widget with children is put together in a layer")
{
    Scene scene(kSmall);
    Widget& single = box(scene.root(), {0, 0, 50, 50}, kRed);
    single.setOpacity(0.5f);
    CHECK(recorded(scene).layersPushed() == 0);
    CHECK(recorded(scene).calls().back().opacity == doctest::Approx(0.5f));

    Widget& child = box(single, {0, 0, 10, 10}, kBlue);
    CHECK(recorded(scene).layersPushed() == 1);
    CHECK(recorded(scene).calls().back().layers == 1);

    child.setOpacity(0.f);
    CHECK(recorded(scene).layersPushed() == 0);

    child.setOpacity(1.f);
    single.setOpacity(1.f);
    CHECK(recorded(scene).layersPushed() == 0);
}

TEST_CASE("scene painter: what is not displayed or wholly transparent is not drawn, nor what is in it")
{
    Scene scene(kSmall);
    Widget& a = box(scene.root(), {0, 0, 50, 50}, kRed);
    box(a, {0, 0, 10, 10}, kBlue);
    Widget& b = box(scene.root(), {50, 0, 50, 50}, kGreen);
    CHECK(recorded(scene).count(Call::Kind::Rect) == 3);
    setWord(a, "display", "none");
    CHECK(recorded(scene).count(Call::Kind::Rect) == 1);
    b.setOpacity(0.f);
    CHECK(recorded(scene).count(Call::Kind::Rect) == 0);
}

TEST_CASE("scene painter: overflow hidden cuts children off, also at rounded corners")
{
    Scene scene(kSmall);
    Widget& frame = box(scene.root(), {20, 20, 60, 60}, {0, 0, 0, 0});
    box(frame, {-50, -50, 200, 200}, kRed);
    CHECK(litBounds(scene.picture()) == QRect(0, 0, 170, 170));
    setWord(frame, "overflow", "hidden");
    CHECK(litBounds(scene.picture()) == QRect(20, 20, 60, 60));
    set(frame, "border-radius", 20.f);
    CHECK(scene.picture().pixelColor(21, 21) == QColor(Qt::black));
    CHECK(scene.picture().pixelColor(50, 50) == QColor(Qt::red));
}

TEST_CASE("scene painter: children that are cut off follow each corner by itself")
{
    Scene scene(kSmall);
    Widget& frame = box(scene.root(), {20, 20, 60, 60}, {0, 0, 0, 0});
    box(frame, {-50, -50, 200, 200}, kRed);
    setWord(frame, "overflow", "hidden");
    Cascara::StyleEngine::instance().addStyleSheet(
        QStringLiteral(".frame { border-radius: 20px; border-top-left-radius: 0; border-bottom-right-radius: 4px }"),
        QStringLiteral("test.css"));
    frame.addCSSClass("frame");
    const QImage picture = scene.picture();
    CHECK(picture.pixelColor(20, 20) == QColor(Qt::red));
    CHECK(picture.pixelColor(78, 22) == QColor(Qt::black));
    CHECK(picture.pixelColor(22, 78) == QColor(Qt::black));
    CHECK(picture.pixelColor(79, 79) == QColor(Qt::black));
    CHECK(picture.pixelColor(77, 77) == QColor(Qt::red));
}

TEST_CASE("scene painter: only what lies in the visible area is drawn")
{
    Scene scene(kSmall);
    for (int i = 0; i < 20; ++i)
        box(scene.root(), {float(i * 10), 0, 10, 10}, kRed);
    RecordingContext context({0, 0, 35, 100});
    scene.app.render(context);
    CHECK(context.count(Call::Kind::Rect) == 4);
}

TEST_CASE("scene painter: a child outside its parent is drawn even where the parent is not visible")
{
    Scene scene(kSmall);
    Widget& parent = box(scene.root(), {0, 0, 10, 10}, kRed);
    box(parent, {100, 100, 10, 10}, kBlue);
    RecordingContext context({90, 90, 50, 50});
    scene.app.render(context);
    REQUIRE(context.count(Call::Kind::Rect) == 1);
    CHECK(context.calls()[0].sceneBounds == Vecta::Rect{100, 100, 10, 10});
    parent.setOpacity(0.5f);
    CHECK(scene.picture().pixelColor(105, 105).blue() == doctest::Approx(128).epsilon(0.02));
}

TEST_CASE("scene painter: an opaque border looks like a larger rectangle under a smaller one")
{
    const QImage framed = pictureOf([](Scene& scene) {
        Widget& widget = box(scene.root(), {20, 20, 100, 80}, kRed);
        set(widget, "border-color", kBlue);
        set(widget, "border-width", 6.f);
    });
    const QImage stacked = pictureOf([](Scene& scene) {
        Widget& outer = box(scene.root(), {20, 20, 100, 80}, kBlue);
        box(outer, {6, 6, 88, 68}, kRed);
    });
    CHECK_PICTURE(framed, stacked, 1);
    CHECK(framed.pixelColor(22, 50) == QColor(Qt::blue));
}

TEST_CASE("scene painter: a half transparent border lies on the ground")
{
    Scene scene(kSmall);
    Widget& framed = box(scene.root(), {20, 20, 100, 80}, kWhite);
    set(framed, "border-color", Bedrock::Color{0, 0, 0, 0.5f});
    set(framed, "border-width", 10.f);
    const QImage image = scene.picture();
    CHECK(image.pixelColor(25, 50).red() == doctest::Approx(128).epsilon(0.03));
    CHECK(image.pixelColor(60, 50) == QColor(Qt::white));
}

TEST_CASE("scene painter: a border radius beyond half the size makes a circle, not less")
{
    const auto withRadius = [](float radius) {
        return pictureOf([radius](Scene& scene) { set(box(scene.root(), {0, 0, 50, 50}, kRed), "border-radius", radius); });
    };
    CHECK_PICTURE(withRadius(1000.f), withRadius(25.f), 0);
    CHECK(withRadius(1000.f).pixelColor(2, 2) == QColor(Qt::black));
    CHECK(difference(withRadius(25.f), withRadius(10.f)) > 100);
}

TEST_CASE("scene painter: the tip of a turned box is drawn where only the pixels beyond its bounds are damaged")
{
    Scene scene(kSmall);
    Widget& turned = box(scene.root(), {70.46f, 70.98f, 24.79f, 16.78f}, {0, 0, 0, 0});
    set(turned, "border-width", 3.f);
    set(turned, "border-color", kWhite);
    turned.setRotation(3.9018f);
    turned.setOpacity(1.f / 3.f);
    const QImage whole = scene.picture();
    const QRect damage(50, 71, 29, 49);
    REQUIRE(whole.pixelColor(70, 71).red() > 0);
    Lantern::ImageTarget target(whole.size());
    target.paint(damage, [&scene](Lantern::RenderContext& context) { scene.app.render(context); });
    CHECK_PICTURE(target.image().copy(damage), whole.copy(damage), 0);
}

TEST_CASE("scene painter: a fading group shows the tips of what is turned in it")
{
    Scene scene(kSmall);
    Widget& group = box(scene.root(), {20, 20, 20, 20}, {0, 0, 0, 0});
    framedTips(group, {60.5f, 60.5f});
    const QRect lit = litBounds(scene.picture());
    CHECK(lit == QRect(66, 66, 29, 29));
    group.setOpacity(0.5f);
    REQUIRE(recorded(scene).layersPushed() == 1);
    CHECK(litBounds(scene.picture()) == lit);
}
