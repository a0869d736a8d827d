#include "care/PlaceKeeper.hpp"

#include "CareTable.hpp"
#include "KeyboardDesk.hpp"
#include "care/CardOutline.hpp"

#include <Tactile/Sample.hpp>
#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

#include <string>

using Vecta::Vector2f;

namespace
{
bool isWhole(const Trellis::Widget& widget)
{
    const Vecta::Rect bounds = widget.sceneBounds();
    return bounds.x >= -0.1f && bounds.y >= -0.1f && bounds.right() <= 1920.1f && bounds.bottom() <= 1080.1f;
}
}

TEST_CASE("place keeper: in its first frame a widget stands exactly at its card, and is whole on the table after 0.3 s")
{
    CareTable table;
    const Trellis::Widget& opened = table.open(1001, {1900.f, 1000.f});
    CHECK(CareTable::center(opened) == Vector2f(1900.f, 1000.f));
    table.host.frame();
    CHECK(CareTable::center(opened).x < 1900.f);
    CHECK_FALSE(isWhole(opened));
    table.host.frames(18);
    CHECK(isWhole(opened));
    CHECK((CareTable::center(opened) - Vector2f(1620.f, 760.f)).length() < 0.1f);
}

TEST_CASE("place keeper: a widget that is whole and clear of its card is not moved")
{
    CareTable table;
    const Trellis::Widget& opened = table.open(1001, {960.f, 540.f}, 1.f);
    const Vector2f location = opened.location();
    table.host.frames(60);
    CHECK(opened.location() == location);
}

TEST_CASE("place keeper: cards and what other cards opened are the neighbours of a keyboard")
{
    CareTable table;
    Trellis::Widget& first = table.open(1001, {400.f, 540.f});
    Trellis::Widget& second = table.open(1002, {1400.f, 540.f});
    table.host.frames(30);
    const auto& cards = table.host.app().grabManager()->currentSample().markers;
    REQUIRE(cards.size() == 2);
    Host::PlaceKeeper places(0.55f);
    places.add({Bedrock::IntrusiveWeakPtr<Trellis::Widget>(&first), cards[0]});
    places.add({Bedrock::IntrusiveWeakPtr<Trellis::Widget>(&second), cards[1]});
    places.update(cards, {}, {1920.f, 1080.f}, 0.f);
    const auto around = places.neighboursOf(first);
    REQUIRE(around.size() == 3);
    CHECK((around[2][0] - second.mapToScene({})).length() < 0.1f);
    CHECK((around[2][2] - second.mapToScene(second.size())).length() < 0.1f);
    for (const int card : {0, 1}) {
        const auto& outline = around[std::size_t(card)];
        CHECK(((outline[0] + outline[2]) / 2.f - Vector2f(card == 0 ? 400.f : 1400.f, 540.f)).length() < 1.f);
    }
}

TEST_CASE("place keeper: what opens makes room for another person's keyboard")
{
    CareTable table;
    KeyboardTests::Desk desk(table.host, {700.f, 250.f});
    desk.open();
    const Vector2f keyboard = desk.keyboard()->mapToScene(desk.keyboard()->size() / 2.f);
    const Trellis::Widget& opened = table.open(1001, keyboard);
    table.host.frames(30);
    CHECK(isWhole(opened));
    CHECK_FALSE(opened.intersects(*desk.keyboard()));
}

TEST_CASE("place keeper: what opens makes no room for a keyboard that fades away")
{
    CareTable table;
    KeyboardTests::Desk desk(table.host, {700.f, 250.f});
    desk.open();
    const Vector2f keyboard = desk.keyboard()->mapToScene(desk.keyboard()->size() / 2.f);
    desk.keyboard()->close();
    const Trellis::Widget& opened = table.open(1001, keyboard);
    table.host.frames(30);
    CHECK((CareTable::center(opened) - keyboard).length() < 40.f);
}

TEST_CASE("place keeper: a widget that grows makes no room for its own keyboard")
{
    CareTable table({}, {1000.f, 800.f});
    Trellis::Widget& opened = table.open(1001, {500.f, 400.f});
    const auto field = Bedrock::makeIntrusive<Tavola::InputFieldWidget>(&opened, false);
    field->setLocation({50.f, 300.f});
    field->setSize({500.f, 40.f});
    table.host.frames(30);
    table.host.app().setFocusWidget(field->editor().get());
    table.host.frames(10);
    REQUIRE(field->keyboard());
    REQUIRE(field->keyboard()->intersects(opened)); // there is no room beside it
    opened.setSize({620.f, 640.f});
    table.host.frames(30);
    CHECK((CareTable::center(opened) - Vector2f(510.f, 400.f)).length() < 1.f);
}

TEST_CASE("place keeper: the angle stays")
{
    CareTable table;
    const Trellis::Widget& opened = table.open(1001, {1900.f, 30.f}, 2.5f);
    const float angle = opened.rotation();
    table.host.frames(30);
    CHECK(opened.rotation() == angle);
    CHECK(isWhole(opened));
}

TEST_CASE("place keeper: the widget glides away from under its card where that would cover what is kept clear")
{
    CareTable table;
    table.host.style(".title { top: 280px; }");
    Trellis::Widget& opened = table.open(1001, {960.f, 540.f});
    table.host.frames(30);
    const Vecta::Rect title = opened.children()[0]->sceneBounds();
    const bool isClear = title.bottom() <= 540.f - 69.f || title.y >= 540.f + 69.f;
    CHECK_MESSAGE(isClear, title.y);
    CHECK(isWhole(opened));
}

TEST_CASE("place keeper: a second person's widget makes room for the first one's, which stays")
{
    CareTable table;
    const Trellis::Widget& first = table.open(1001, {500.f, 540.f});
    table.host.frames(30);
    const Vector2f location = first.location();
    const Trellis::Widget& second = table.open(1002, {900.f, 540.f});
    CHECK(first.intersects(second));
    table.host.frames(30);
    CHECK_FALSE(first.intersects(second));
    CHECK(first.location() == location);
    CHECK(isWhole(second));
}

TEST_CASE("place keeper: two cards that come down in one frame get places of their own")
{
    CareTable table;
    table.host.input.markerDown(1001, {700.f, 540.f});
    table.host.input.markerDown(1002, {1000.f, 540.f});
    table.host.frames(40);
    const auto& children = table.host.mainWidget().children();
    REQUIRE(children.size() == 3);
    CHECK_FALSE(children[1]->intersects(*children[2]));
}

TEST_CASE("place keeper: \"placement: beside\" puts the widget next to its card")
{
    CareTable table;
    table.host.style(".opened { placement: beside; width: 300px; height: 300px; }");
    const Trellis::Widget& opened = table.open(1001, {960.f, 540.f});
    CHECK(CareTable::center(opened) == Vector2f(960.f, 540.f));
    table.host.frames(30);
    const Vector2f center = CareTable::center(opened);
    CHECK(center.y == doctest::Approx(540.f).epsilon(0.001));
    CHECK(center.x - 150.f > 960.f + 69.f);
    CHECK(center.x - 150.f < 960.f + 69.f + 5.f);
}

TEST_CASE("place keeper: a finger that grabs a gliding widget keeps it")
{
    CareTable table;
    const Trellis::Widget& opened = table.open(1001, {1900.f, 540.f});
    table.host.frames(3);
    table.host.input.fingerDown(1, {1750.f, 540.f});
    table.host.frame();
    const Vector2f held = opened.location();
    table.host.frames(30);
    CHECK(opened.location() == held);
    table.host.input.fingerUp(1);
    table.host.frames(60);
    CHECK(opened.location() == held);
}

TEST_CASE("place keeper: a widget that another class moves is left there")
{
    CareTable table;
    Trellis::Widget& opened = table.open(1001, {1900.f, 540.f});
    table.host.frames(3);
    opened.setLocation({1500.f, 700.f});
    table.host.frames(60);
    CHECK(opened.location() == Vector2f(1500.f, 700.f));
}

TEST_CASE("place keeper: a widget that grows is made whole again")
{
    CareTable table;
    Trellis::Widget& opened = table.open(1001, {1600.f, 540.f});
    table.host.frames(30);
    opened.setSize({900.f, 640.f});
    table.host.frames(30);
    CHECK(isWhole(opened));
}

TEST_CASE("place keeper: a widget that comes growing has the place of its whole size from the first frame on")
{
    Vector2f place;
    for (const char* animation : {"", "animation: open 0.3s; "}) {
        CareTable table;
        table.host.style((std::string("@keyframes open { from { scale: 0.2; } } .opened { ") + animation + "}").c_str());
        Trellis::Widget& opened = table.open(1001, {1900.f, 1000.f});
        table.host.frames(9);
        const Vector2f center = CareTable::center(opened);
        if (!*animation)
            place = center;
        CHECK((center - place).length() < 0.1f);
        CHECK((opened.scale() < 1.f) == bool(*animation));
    }
}

TEST_CASE("place keeper: a widget that closes while it glides is forgotten")
{
    CareTable table;
    Trellis::Widget& opened = table.open(1001, {1900.f, 540.f});
    table.host.frames(3);
    opened.removeFromParent();
    table.host.frames(30);
    CHECK(table.host.mainWidget().children().size() == 1);
}

TEST_CASE("place keeper: one that comes growing at a trembling card ends its glide within 0.3 s, however it is turned")
{
    for (const float angle : {0.3f, 1.1f, 2.f, 4.6f}) {
        CAPTURE(angle);
        CareTable table;
        table.host.style("@keyframes open { from { scale: 0.8; } } .opened { placement: beside; animation: open 0.22s; }");
        const Trellis::Widget& opened = table.open(1001, {960.f, 540.f}, angle);
        for (int frame = 0; frame < 19; ++frame) {
            table.host.input.markerMove(table.card, {960.f + 0.02f * float(frame), 540.f}, angle);
            table.host.frame();
        }
        const Vector2f soon = CareTable::center(opened);
        table.host.frames(60);
        CHECK((CareTable::center(opened) - soon).length() < 1.f);
    }
}

TEST_CASE("place keeper: one whose parts change stays while its place is good, wherever its card has been moved")
{
    CareTable table;
    table.host.style(".opened { placement: beside; }");
    Trellis::Widget& opened = table.open(1001, {700.f, 540.f});
    table.host.frames(60);
    const Vector2f center = CareTable::center(opened);
    table.host.input.markerMove(table.card, {500.f, 200.f});
    table.host.frames(30);
    const auto part = Bedrock::makeIntrusive<Trellis::Widget>(&opened);
    part->addCSSClass("title");
    table.host.frames(60);
    CHECK(CareTable::center(opened) == center);
}

TEST_CASE("place keeper: a glide that is under way does not begin anew when a part is added that changes no place")
{
    CareTable table;
    Trellis::Widget& opened = table.open(1001, {1900.f, 540.f});
    table.host.frames(8);
    REQUIRE_FALSE(isWhole(opened));
    Bedrock::makeIntrusive<Trellis::Widget>(&opened)->addCSSClass("title");
    table.host.frames(12);
    CHECK(isWhole(opened));
}

TEST_CASE("place keeper: one whose new part its card covers makes room for it")
{
    CareTable table;
    Trellis::Widget& opened = table.open(1001, {960.f, 540.f});
    table.host.frames(60);
    const Vector2f center = CareTable::center(opened);
    table.host.style(".late { position: absolute; left: 250px; top: 270px; width: 100px; height: 100px; keep-clear: true; }");
    const auto part = Bedrock::makeIntrusive<Trellis::Widget>(&opened);
    part->addCSSClass("late");
    table.host.frames(60);
    CHECK((CareTable::center(opened) - center).length() > 50.f);
}

TEST_CASE("place keeper: what is closing keeps nothing else away")
{
    CareTable table;
    Trellis::Widget& closing = table.open(1001, {700.f, 540.f});
    table.host.frames(30);
    Trellis::FadeAnimator::fadeOutAndDelete(closing, 5.f, 0.f);
    closing.setInputEnabled(false); // the card goes to what lies below
    const Trellis::Widget& opened = table.open(1002, {960.f, 540.f});
    REQUIRE(&opened != &closing);
    table.host.frames(30);
    CHECK(CareTable::center(opened) == Vector2f(960.f, 540.f));
}

TEST_CASE("place keeper: with reduced motion the widget is whole in its second frame")
{
    CareTable table;
    table.host.app().mainLayer()->setPseudoClass("reduced-motion", true);
    const Trellis::Widget& opened = table.open(1001, {1900.f, 1000.f});
    CHECK(CareTable::center(opened) == Vector2f(1900.f, 1000.f));
    table.host.frame();
    CHECK(isWhole(opened));
}

TEST_CASE("place keeper: one that grows makes room for another person's widget, whichever opened first")
{
    CareTable table;
    Trellis::Widget& first = table.open(1001, {400.f, 540.f});
    const Trellis::Widget& second = table.open(1002, {1100.f, 540.f});
    table.host.frames(30);
    const Vector2f location = second.location();
    REQUIRE_FALSE(first.intersects(second));
    first.setSize({760.f, 640.f});
    table.host.frames(40);
    CHECK_FALSE(first.intersects(second));
    CHECK(second.location() == location);
}

TEST_CASE("place keeper: a widget makes room for the place to which another person's still glides")
{
    CareTable table;
    const Trellis::Widget& first = table.open(1001, {1900.f, 540.f});
    table.host.frame();
    const Trellis::Widget& second = table.open(1002, {1250.f, 540.f});
    table.host.frames(60);
    CHECK_FALSE(first.intersects(second));
}

TEST_CASE("place keeper: what one person opened need not make room for what the same card opens")
{
    CareTable table;
    table.open(1001, {700.f, 540.f});
    table.host.frames(30);
    table.host.input.markerUp(table.card);
    table.host.frame();
    const Trellis::Widget& second = table.open(1001, {1100.f, 540.f});
    table.host.frames(30);
    CHECK(CareTable::center(second) == Vector2f(1100.f, 540.f));
}

TEST_CASE("place keeper: a part that does not show is covered by its card without harm")
{
    CareTable table;
    table.host.style(
        ".hidden { display: none; keep-clear: true; position: absolute; left: 0px; top: 0px; width: 600px; height: 640px; }");
    const Trellis::Widget& opened = table.open(1001, {960.f, 540.f});
    const auto part = Bedrock::makeIntrusive<Trellis::Widget>(const_cast<Trellis::Widget*>(&opened));
    part->addCSSClass("hidden");
    table.host.frames(30);
    CHECK(CareTable::center(opened) == Vector2f(960.f, 540.f));
}

TEST_CASE("place keeper: a widget that grows beside its card keeps beside the card where that lies now")
{
    CareTable table;
    table.host.style(".opened { placement: beside; }");
    Trellis::Widget& opened = table.open(1001, {600.f, 540.f});
    table.host.frames(30);
    table.host.input.markerMove(table.card, {760.f, 540.f});
    table.host.frames(2);
    opened.setSize({600.f, 660.f});
    table.host.frames(40);
    CHECK(opened.sceneBounds().x > 760.f + Host::kCardSideMm / 0.55f / 2.f);
}
