#include "RecordingContext.hpp"
#include "Scene.hpp"

#include <Lantern/BoxShadow.hpp>
#include <Lantern/ImageTarget.hpp>

using namespace TestSupport;
using namespace TrellisTest;
using Trellis::Widget;
using Kind = RecordingContext::Call::Kind;

namespace
{
std::vector<Kind> drawn(Scene& scene)
{
    scene.frame();
    RecordingContext context;
    scene.app.render(context);
    std::vector<Kind> kinds;
    for (const auto& call : context.calls())
        kinds.push_back(call.kind);
    return kinds;
}

/// White, so that shadows show.
struct White : Scene
{
    White() : Scene(kSmall) { set(root(), "background-color", kWhite); }
    void draw()
    {
        frame();
        target.paint(app.collectDamage(), [this](Lantern::RenderContext& context) { app.render(context); });
    }
    Lantern::ImageTarget target{QSize(int(kSmall.x), int(kSmall.y))};
};
}

TEST_CASE("box painter: shadows lie below the ground, inset ones between ground and border, the first of a list on top")
{
    Scene scene(kSmall);
    scene.box(20, 20, 60, 60,
              "background-color: #fff; border: 3px solid red; box-shadow: 0 0 9px blue, inset 0 0 5px lime, 0 0 3px aqua");
    CHECK(drawn(scene) == std::vector<Kind>{Kind::Shadow, Kind::Shadow, Kind::Rect, Kind::Shadow, Kind::Rect});
    RecordingContext context;
    scene.app.render(context);
    CHECK(context.calls()[0].color == Bedrock::Color::fromString(QStringLiteral("aqua")));
    CHECK(context.calls()[1].color == kBlue);
    CHECK(context.calls()[3].color == kGreen);
    CHECK(context.calls()[3].rect == Vecta::Rect{3, 3, 54, 54});
}

TEST_CASE("box painter: a box without size throws no shadow")
{
    Scene scene(kSmall);
    scene.box(20, 20, 0, 60, "box-shadow: 0 0 9px blue");
    CHECK(drawn(scene).empty());
}

TEST_CASE("box painter: a dragged shadow leaves no trail")
{
    White scene;
    Widget& widget = scene.box(20, 20, 40, 40, "background-color: red; border-radius: 6px; box-shadow: 5px 9px 16px 2px #0009");
    for (const bool isKept : {false, true}) {
        CAPTURE(isKept);
        if (isKept)
            scene.app.keepPicturesOf(scene.root());
        scene.draw();
        for (int i = 0; i < 12; ++i) {
            widget.setLocation({20.f + 7.3f * float(i), 20.f + 5.1f * float(i)});
            if (i == 6)
                widget.setRotation(0.4f);
            scene.draw();
            REQUIRE_MESSAGE(scene.target.image() == scene.picture(), "step " << i);
        }
        style(widget, "box-shadow: none");
        scene.draw();
        CHECK(scene.target.image() == scene.picture());
        style(widget, "box-shadow: 30px 30px 3px blue");
        scene.draw();
        CHECK(scene.target.image() == scene.picture());
    }
}

TEST_CASE("box painter: a shadow is drawn where the box itself is not visible")
{
    Scene scene(kSmall);
    scene.box(20, 20, 40, 40, "box-shadow: 50px 0 4px blue");
    scene.frame();
    RecordingContext context({90, 30, 10, 10});
    scene.app.render(context);
    CHECK(context.count(Kind::Shadow) == 1);
}

TEST_CASE("box painter: a shadow takes no input, and no room")
{
    Scene scene(kSmall);
    Widget& widget = scene.box(20, 20, 40, 40);
    Widget& below = *new Widget(&widget);
    scene.frame();
    const Vecta::Rect before = below.sceneBounds();
    style(widget, "position: absolute; left: 20px; top: 20px; width: 40px; height: 40px; box-shadow: 20px 20px 0 9px red");
    scene.frame();
    CHECK(below.sceneBounds() == before);
    CHECK(widget.sceneBounds() == Vecta::Rect{20, 20, 40, 40});
    EventCount downs(widget, "finger-down");
    scene.input.fingerDown(1, {75, 75});
    scene.frame();
    CHECK(downs.count == 0);
    scene.input.fingerUp(1);
    scene.frame();
    scene.input.fingerDown(2, {55, 55});
    scene.frame();
    CHECK(downs.count == 1);
}

TEST_CASE("box painter: forty tiles of many sizes share one shadow, and moving or turning them computes none")
{
    White scene;
    const std::size_t kept = Lantern::KeptShadows::count();
    const long built = Lantern::KeptShadows::built();
    std::vector<Widget*> tiles;
    Cascara::StyleEngine::instance().addStyleSheet(
        QStringLiteral(".tile { background-color: #eee; border-radius: 4px; box-shadow: 0 2px 7px #0008; }"),
        QStringLiteral("test.css"));
    for (int i = 0; i < 40; ++i) {
        auto* tile = new Widget(&scene.root());
        place(*tile, {float(i % 8) * 25.f, float(i / 8) * 40.f, 32.f + float(i % 5), 34.f + float(i % 3)});
        tile->addCSSClass("tile");
        tiles.push_back(tile);
    }
    scene.draw();
    CHECK(Lantern::KeptShadows::count() == kept + 1);
    CHECK(Lantern::KeptShadows::built() == built + 1);
    for (int step = 0; step < 5; ++step) {
        for (Widget* tile : tiles) {
            tile->setLocation(tile->location() + Vecta::Vector2f{1.3f, -0.7f});
            tile->setRotation(tile->rotation() + 0.2f);
            tile->setScale(tile->scale() * 1.05f);
        }
        scene.draw();
    }
    CHECK(Lantern::KeptShadows::built() == built + 1);
}

TEST_CASE("box painter: pictures and gradients lie between the ground and inset shadows, the first of a list on top")
{
    Scene scene(kSmall);
    scene.box(20, 20, 60, 40,
              "background: linear-gradient(red, blue), radial-gradient(lime, blue) #fff; border: 3px solid red;"
              "background-size: 10px 10px, auto; box-shadow: inset 0 0 5px lime");
    CHECK(drawn(scene) == std::vector<Kind>{Kind::Rect, Kind::Box, Kind::Box, Kind::Shadow, Kind::Rect});
    RecordingContext context;
    scene.app.render(context);
    CHECK(context.calls()[1].source == Vecta::Rect{3, 3, 54, 34});
    CHECK(context.calls()[2].source == Vecta::Rect{3, 3, 10, 10});
    CHECK(context.calls()[2].rect == Vecta::Rect{0, 0, 60, 40});
}

TEST_CASE("box painter: a gradient runs over the widget, and ends at its round corners")
{
    Scene scene(kSmall);
    scene.box(20, 20, 100, 40, "background: linear-gradient(to right, #f00, #00f); border-radius: 10px");
    scene.frame();
    const QImage image = scene.picture();
    CHECK(image.pixelColor(21, 21) == QColor(Qt::black));
    CHECK(image.pixelColor(20, 40).red() >= 252);
    CHECK(image.pixelColor(119, 40).blue() >= 252);
    CHECK(image.pixelColor(70, 40).red() == doctest::Approx(127).epsilon(0.02));
    CHECK(image.pixelColor(70, 40).green() == 0);
}

TEST_CASE("box painter: sides and corners one by one go before what is said for all, and equal ones look as before")
{
    const auto look = [](const char* declarations) {
        return pictureOf([declarations](Scene& scene) {
            scene.box(20, 20, 100, 60, (std::string("background: lime; ") + declarations).c_str());
            scene.frame();
        });
    };
    const QImage plain = look("border: 6px solid red; border-radius: 12px");
    CHECK(look("border-width: 6px 6px; border-color: red red red; border-radius: 12px 12px 12px 12px") == plain);
    CHECK(look("border: 1px solid blue; border-width: 6px; border-color: red; border-top-left-radius: 3px; border-radius: 12px")
          == plain);
    CHECK(look("border-left: 9px solid blue; border: 6px solid red; border-radius: 12px") == plain);
    const QImage sided = look("border: 6px solid red; border-left: 10px solid blue; border-bottom: none");
    CHECK(sided.pixelColor(24, 50) == QColor(Qt::blue));
    CHECK(sided.pixelColor(29, 50) == QColor(Qt::blue));
    CHECK(sided.pixelColor(31, 50) == QColor(Qt::green));
    CHECK(sided.pixelColor(70, 22) == QColor(Qt::red));
    CHECK(sided.pixelColor(117, 50) == QColor(Qt::red));
    CHECK(sided.pixelColor(70, 78) == QColor(Qt::green));
    const QImage cornered = look("border-radius: 20px; border-top-right-radius: 0; border-bottom-left-radius: 4px");
    CHECK(cornered.pixelColor(21, 21) == QColor(Qt::black));
    CHECK(cornered.pixelColor(119, 20) == QColor(Qt::green));
    CHECK(cornered.pixelColor(118, 78) == QColor(Qt::black));
    CHECK(cornered.pixelColor(22, 77) == QColor(Qt::green));
}

TEST_CASE("box painter: sides that are wider than the widget end in its middle")
{
    Scene scene(kSmall);
    scene.box(20, 20, 40, 40, "border-left: 90px solid blue; border-right: 90px solid red; border-radius: 999px 0 0 0");
    scene.frame();
    CHECK(scene.picture().pixelColor(38, 58) == QColor(Qt::blue));
    CHECK(scene.picture().pixelColor(42, 58) == QColor(Qt::red));
    CHECK(scene.picture().pixelColor(22, 22) == QColor(Qt::black));
}

TEST_CASE("box painter: a widget with a common border has no attributes of single sides, whatever resets them")
{
    Scene scene(kSmall);
    scene.box(20, 20, 40, 40, "border-left: 1px solid red; border-top-left-radius: 2px; background: linear-gradient(red, blue)");
    Widget& widget = scene.box(20, 20, 40, 40, "border: 2px solid blue; border-radius: 3px; background: red");
    const auto number = [](const char* name) { return Facet::AttributeName(name).number(); };
    CHECK(widget.hasMadeAttribute(number("border-radius")));
    CHECK_FALSE(widget.hasMadeAttribute(number("border-left-width")));
    CHECK_FALSE(widget.hasMadeAttribute(number("border-top-left-radius")));
    CHECK_FALSE(widget.hasMadeAttribute(number("background-image")));
    CHECK(widget.attribute("border-left-width")->toText() == QStringLiteral("auto"));
}
