#include <doctest/doctest.h>

#include "KeyboardDesk.hpp"

#include <Tavola/DropListener.hpp>
#include <Tavola/KeyboardRequest.hpp>

#include <cmath>

using Bedrock::makeIntrusive;
using KeyboardTests::Desk;
using Tavola::InputFieldWidget;
using Tavola::KeyboardWidget;
using TestSupport::TestHost;
using Vecta::Vector2f;

namespace
{
/// Whether the keyboard lies on the table as a whole.
bool isReachable(TestHost& host, const KeyboardWidget& keyboard)
{
    const Vecta::Rect bounds = keyboard.sceneBounds();
    const Vector2f table = host.app().size();
    return bounds.x >= -0.5f && bounds.y >= -0.5f && bounds.right() <= table.x + 0.5f && bounds.bottom() <= table.y + 0.5f;
}
}

TEST_CASE("keyboard: no key is smaller than 12 mm, whatever the style says")
{
    struct Row
    {
        float pitchMm;
        const char* css;
        float sizePx;
    };
    const Row rows[] = {{0.55f, "", 44.f},
                        {0.55f, "KeyboardWidget { key-size: 4px }", 12.f / 0.55f},
                        {0.1f, "", 120.f},
                        {0.4f, "KeyboardWidget { key-size: 60px; key-gap: 0px }", 60.f}};
    for (const Row& row : rows) {
        CAPTURE(row.pitchMm);
        CAPTURE(row.css);
        TestHost host;
        host.ui().setPixelPitchMm(row.pitchMm);
        host.style(row.css);
        Desk desk(host);
        desk.open();
        for (const float scale : {1.f, 0.6f, 1.5f}) {
            desk.space->setScale(scale);
            host.frame();
            for (const Trellis::Widget* key : desk.keyboard()->findAllByType("KeyWidget")) {
                // From corner to corner on the table: the size holds however the space is scaled.
                const float width = (key->mapToScene({key->width(), 0.f}) - key->mapToScene({})).length();
                const float height = (key->mapToScene({0.f, key->height()}) - key->mapToScene({})).length();
                CHECK(width * row.pitchMm >= 11.99f);
                CHECK(height == doctest::Approx(row.sizePx).epsilon(0.001));
            }
        }
    }
}

TEST_CASE("keyboard: it stands below its space, turns and moves with it, and can be typed on there")
{
    for (const float angle : {0.f, 0.7f, 1.5708f, 3.1416f, -2.f}) {
        CAPTURE(angle);
        TestHost host({3000.f, 3000.f});
        Desk desk(host, {1500.f, 1500.f}, angle);
        desk.open();
        CHECK(desk.keyboard()->parent() == desk.space.get());
        const auto below = [&] {
            const Vector2f top = desk.space->mapFromScene(desk.keyboard()->mapToScene({desk.keyboard()->width() / 2.f, 0.f}));
            return std::abs(top.x - 300.f) < 0.5f && top.y > 300.f && top.y < 330.f;
        };
        CHECK(below());
        desk.type("abc");
        CHECK(desk.text() == "abc");
        desk.space->setLocation({1400.f, 1700.f});
        desk.space->setRotation(angle + 0.3f);
        host.frame();
        CHECK(below());
        desk.type("d");
        CHECK(desk.text() == "abcd");
    }
}

TEST_CASE("keyboard: at the table's edge it comes inside")
{
    for (const Vector2f place : KeyboardTests::kEdgePlaces) {
        for (const float angle : {0.f, 0.4f, 3.1416f}) {
            CAPTURE(place.x);
            CAPTURE(place.y);
            CAPTURE(angle);
            TestHost host;
            Desk desk(host);
            desk.open();
            desk.space->setRotation(angle);
            desk.space->setCenterLocation(place);
            host.frame();
            CHECK(isReachable(host, *desk.keyboard()));
        }
    }
}

TEST_CASE(
    "keyboard: where the user interface's placer says, asked only when something has changed, and in its usual place after that")
{
    TestHost host;
    Desk desk(host);
    int asked = 0;
    host.ui().setKeyboardPlacer([&](const Trellis::Widget& keyboard, const Trellis::Widget& carrier, const auto& request) {
        ++asked;
        CHECK(keyboard.parent() == desk.space.get());
        CHECK(&carrier == desk.space.get());
        CHECK(request.origin == desk.space->location());
        CHECK(request.anchor == desk.space->size());
        return Vector2f(700.f, 10.f);
    });
    desk.open();
    const int before = asked;
    CHECK(before > 0);
    CHECK((desk.keyboard()->mapToScene({}) - Vector2f(700.f, 10.f)).length() < 0.1f);
    host.frames(3);
    CHECK(asked == before);
    desk.space->setLocation({620.f, 400.f});
    host.frames(3);
    CHECK(asked == before + 1);
    host.ui().setKeyboardPlacer({});
    desk.space->setLocation({600.f, 200.f});
    host.frame();
    CHECK(desk.keyboard()->mapToScene({}).y > 500.f);
}

TEST_CASE("keyboard: in a field that nothing carries it stands beside the field")
{
    TestHost host;
    const auto field = makeIntrusive<InputFieldWidget>(&host.mainWidget(), false);
    field->setSize({300.f, 40.f});
    field->setLocation({600.f, 300.f});
    field->setRotation(0.2f);
    host.frame();
    host.tap(field->editor()->mapToScene(field->editor()->size() * 0.5f));
    const auto keyboard = field->keyboard();
    REQUIRE(keyboard);
    CHECK(keyboard->parent() == &host.mainWidget());
    CHECK(keyboard->rotation() == doctest::Approx(0.2f));
    CHECK_FALSE(keyboard->intersects(*field));
    host.tap(keyboard->findKey("a")->mapToScene({20.f, 20.f}));
    CHECK(field->text() == "a");
}

TEST_CASE("keyboard: typing with many fingers moves nothing, and counts as use of the space")
{
    TestHost host;
    Desk desk(host);
    desk.open();
    host.frame(30.0);
    CHECK(desk.space->idleSeconds() > 29.0);
    const Vector2f before = desk.space->location();
    const Vector2f keys[] = {desk.at("a"), desk.at("s"), desk.at("k"), desk.at("l"), desk.keyboard()->mapToScene({2.f, 2.f})};
    int id = 1;
    for (const Vector2f& key : keys)
        host.input.fingerDown(id++, key);
    host.frame();
    for (int i = 1; i < id; ++i)
        host.input.fingerMove(i, keys[i - 1] + Vector2f(60.f, 40.f * float(i % 2)));
    host.frame();
    for (int i = 1; i < id; ++i)
        host.input.fingerUp(i);
    host.frames(5);
    CHECK(desk.space->location() == before);
    CHECK(desk.space->rotation() == 0.f);
    CHECK(desk.text().size() == 4);
    CHECK(desk.space->idleSeconds() < 1.0);
}

TEST_CASE("keyboard: pressing a key raises the space it belongs to")
{
    TestHost host;
    Desk ann(host, {20.f, 60.f});
    Desk bo(host, {1250.f, 60.f});
    ann.open();
    bo.open();
    CHECK(host.mainWidget().children().back() == bo.space);
    ann.type("a");
    CHECK(host.mainWidget().children().back() == ann.space);
}

TEST_CASE("keyboard: neither a drop nor a card is stopped by it")
{
    class Tray final : public Trellis::Widget, public Tavola::DropListener
    {
    public:
        using Trellis::Widget::Widget;
        bool dropEvent(const Tavola::DropEvent& event) override
        {
            drops += event.type == Tavola::DropEvent::Drop;
            return true;
        }
        void markerDown(Tactile::Marker, Trellis::GrabManager&) override { ++cards; }
        int drops = 0;
        int cards = 0;
    };
    TestHost host;
    const auto tray = makeIntrusive<Tray>(&host.mainWidget());
    tray->setSize({1920.f, 1080.f});
    Desk desk(host);
    desk.open();
    const Vector2f target = desk.at("g");
    const auto picture = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    picture->setSize({80.f, 80.f});
    picture->setLocation({50.f, 50.f});
    Desk::set(*picture, "movable");
    host.dragAndDrop(3, {90.f, 90.f}, target);
    CHECK(tray->drops == 1);
    CHECK(desk.text().isEmpty());
    host.frames(60); // what was dropped glides home
    const auto card = host.input.markerDown(1001, target);
    host.frame();
    CHECK(tray->cards == 1);
    host.input.markerUp(card);
    host.frame();
}
