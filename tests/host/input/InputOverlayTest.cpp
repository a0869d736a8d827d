#include "input/InputOverlay.hpp"

#include <ScriptedInput.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/GrabManager.hpp>
#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <QImage>
#include <QRegion>

using namespace Host;

namespace
{
struct InputOverlayFixture
{
    InputOverlayFixture()
    {
        overlay->postConstruct();
        application.mainLayer()->addChild(below);
        application.mainLayer()->addChild(overlay);
        below->setSize({400.f, 300.f});
        application.addInputSource(input);
        application.frame(0.0);
    }
    ~InputOverlayFixture() { application.removeInputSource(input); }

    QColor at(float x, float y) { return application.renderToImage().pixelColor(int(x), int(y)); }

    Trellis::Application application{{400.f, 300.f}};
    TestSupport::ScriptedInput input;
    Bedrock::IntrusivePtr<Trellis::Widget> below = Bedrock::makeIntrusive<Trellis::Widget>();
    Bedrock::IntrusivePtr<InputOverlay> overlay = Bedrock::makeIntrusive<InputOverlay>(1.f);
};

bool isCyan(const QColor& c)
{
    return c.blue() > 150 && c.red() < 120;
}
bool isOrange(const QColor& c)
{
    return c.red() > 150 && c.blue() < 120;
}
}

TEST_CASE("input overlay: a finger has a ring that follows it and goes with it")
{
    InputOverlayFixture f;
    f.input.fingerDown(1, {100.f, 100.f});
    f.application.frame(0.02);
    CHECK(isCyan(f.at(109.f, 100.f)));
    CHECK(isCyan(f.at(100.f, 91.f)));
    CHECK_FALSE(isCyan(f.at(100.f, 100.f)));

    f.input.fingerMove(1, {200.f, 150.f});
    f.application.frame(0.02);
    CHECK(isCyan(f.at(209.f, 150.f)));
    CHECK_FALSE(isCyan(f.at(109.f, 100.f)));

    f.input.fingerUp(1);
    f.application.frame(0.02);
    CHECK(f.overlay->children().empty());
    CHECK_FALSE(isCyan(f.at(209.f, 150.f)));
}

TEST_CASE("input overlay: a card has a larger ring and a line towards its upper edge, which turns with it")
{
    InputOverlayFixture f;
    const auto card = f.input.markerDown(1001, {100.f, 100.f}, 0.f);
    f.application.frame(0.02);
    CHECK(isOrange(f.at(138.f, 100.f)));
    CHECK(isOrange(f.at(100.f, 80.f)));
    CHECK_FALSE(isOrange(f.at(120.f, 100.f)));

    f.input.markerMove(card, {100.f, 100.f}, Vecta::degreesToRadians(90.f));
    f.application.frame(0.02);
    CHECK(isOrange(f.at(120.f, 100.f)));
    CHECK_FALSE(isOrange(f.at(100.f, 80.f)));
}

TEST_CASE("input overlay: the id and the code stand beside the ring, longer for a card than for a finger")
{
    InputOverlayFixture f;
    f.input.fingerDown(1, {100.f, 50.f});
    f.input.markerDown(1001, {100.f, 200.f}, 0.f);
    f.application.frame(0.02);
    REQUIRE(f.overlay->children().size() == 2);
    CHECK(f.overlay->children()[1]->width() - 76.f > f.overlay->children()[0]->width() - 18.f);
    // Their letters are drawn in the colour of the ring, on a dark ground.
    const QImage picture = f.application.renderToImage();
    int lit = 0;
    for (int x = 145; x < 260; ++x)
        for (int y = 190; y < 210; ++y)
            lit += isOrange(picture.pixelColor(x, y)) ? 1 : 0;
    CHECK(lit > 20);
}

TEST_CASE("input overlay: ignored areas have an outline, which follows them and is drawn once")
{
    InputOverlayFixture f;
    InputOverlay::Areas areas = {Tactile::SurfaceArea::ofRect({50.f, 60.f, 100.f, 80.f})};
    const auto overlay = Bedrock::makeIntrusive<InputOverlay>(1.f, [&areas] { return areas; });
    overlay->postConstruct();
    f.application.mainLayer()->addChild(overlay);
    const auto isRed = [&f](float x, float y) { return f.at(x, y).red() > 150 && f.at(x, y).green() < 120; };
    f.application.frame(0.02);
    for (const Vecta::Vector2f point : {Vecta::Vector2f{100.f, 60.f}, {150.f, 100.f}, {100.f, 140.f}, {50.f, 100.f}}) {
        CAPTURE(point.x);
        CAPTURE(point.y);
        CHECK(isRed(point.x, point.y));
    }
    CHECK_FALSE(isRed(100.f, 100.f));
    (void)f.application.collectDamage();
    f.application.frame(0.02);
    CHECK(f.application.collectDamage().isEmpty());

    areas = {Tactile::SurfaceArea{{{200.f, 200.f}, {300.f, 200.f}, {200.f, 290.f}}}};
    f.application.frame(0.02);
    CHECK_FALSE(isRed(100.f, 60.f));
    CHECK(isRed(250.f, 200.f));
    CHECK(isRed(250.f, 245.f));
    CHECK(overlay->children().size() == 1);
    areas.clear();
    f.application.frame(0.02);
    CHECK(overlay->children().empty());
}

TEST_CASE("input overlay: it takes no input")
{
    InputOverlayFixture f;
    f.input.fingerDown(1, {100.f, 100.f});
    f.application.frame(0.02);
    f.application.frame(0.02);
    CHECK(f.application.grabManager()->grabber(1) == &f.below->inputGrabber());
    const auto card = f.input.markerDown(1001, {100.f, 101.f}, 0.f);
    f.application.frame(0.02);
    CHECK(f.application.grabManager()->grabber(card) != nullptr);
    CHECK(f.application.grabManager()->grabber(card) == &f.below->inputGrabber());
}

TEST_CASE("input overlay: where nothing moves nothing is drawn")
{
    InputOverlayFixture f;
    f.input.fingerDown(1, {100.f, 100.f});
    f.application.frame(0.02);
    (void)f.application.collectDamage();
    f.application.frame(0.02);
    CHECK(f.application.collectDamage().isEmpty());
}
