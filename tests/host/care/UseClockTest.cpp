#include "care/UseClock.hpp"

#include "CareTable.hpp"

#include <Tavola/LaunchedContentOperator.hpp>
#include <Trellis/TextEditWidget.hpp>

#include <doctest/doctest.h>

using Vecta::Vector2f;

namespace
{
Host::CareSettings useSettings()
{
    Host::CareSettings result;
    result.closeAfterSeconds = 40.f;
    result.closeLiftedAfterSeconds = 20.f;
    return result;
}

struct UseClockFixture
{
    UseClockFixture() : opened(&table.open(1001, {960.f, 540.f})) {}

    void pass(int seconds) { table.host.frames(seconds * 4, 0.25); }
    bool isOpen() { return table.host.mainWidget().children().size() == 2; }
    bool isClosing() { return isOpen() && opened->hasPseudoClass("closing"); }
    /// Checks that a use 30 s after the opening restarts the clock.
    template <class Use>
    void checkRestart(Use use)
    {
        pass(30);
        CHECK(isClosing());
        use();
        table.host.frame();
        CHECK_FALSE(isClosing());
        pass(24);
        CHECK(isOpen());
        CHECK_FALSE(isClosing());
        pass(20);
        CHECK_FALSE(isOpen());
    }

    CareTable table{useSettings()};
    Trellis::Widget* opened;
};
}

TEST_CASE("use clock: what was left shows for 15 s that it closes, and then fades away")
{
    UseClockFixture f;
    f.pass(24);
    CHECK_FALSE(f.isClosing());
    f.pass(2);
    CHECK(f.isClosing());
    f.pass(13);
    CHECK(f.isClosing());
    CHECK(f.opened->opacity() == 1.f);
    f.pass(3);
    CHECK_FALSE(f.isOpen());
}

TEST_CASE("use clock: a touch on the widget restarts it")
{
    UseClockFixture f;
    f.checkRestart([&] { f.table.host.tap({800.f, 300.f}); });
}

TEST_CASE("use clock: a finger inside the outline restarts it even when another widget holds that finger")
{
    UseClockFixture f;
    const auto cover = Bedrock::makeIntrusive<Trellis::Widget>();
    cover->postConstruct();
    cover->setSize({1920.f, 1080.f});
    f.table.host.ui().internalOverlayWidget()->addChild(cover);
    f.checkRestart([&] { f.table.host.tap({960.f, 540.f}); });
}

TEST_CASE("use clock: a move of the card restarts it")
{
    UseClockFixture f;
    f.checkRestart([&] { f.table.host.input.markerMove(f.table.card, {970.f, 540.f}); });
}

TEST_CASE("use clock: a turn of the card restarts it")
{
    UseClockFixture f;
    f.checkRestart([&] { f.table.host.input.markerMove(f.table.card, {960.f, 540.f}, 0.3f); });
}

TEST_CASE("use clock: the tremor of a card is no use")
{
    UseClockFixture f;
    f.pass(30);
    f.table.host.input.markerMove(f.table.card, {961.f, 540.f}, 0.01f);
    f.table.host.frame();
    CHECK(f.isClosing());
}

TEST_CASE("use clock: a move of the widget by whatever means restarts it")
{
    UseClockFixture f;
    f.checkRestart([&] { f.opened->setLocation(f.opened->location() + Vector2f(20.f, 0.f)); });
}

TEST_CASE("use clock: typing restarts it, and a field that merely has the focus does not")
{
    UseClockFixture f;
    const auto field = Bedrock::makeIntrusive<Trellis::TextEditWidget>(f.opened);
    field->postConstruct();
    f.table.host.app().setFocusWidget(field.get());
    f.table.host.frame();
    f.checkRestart([&] { field->setText(QStringLiteral("a")); });
}

TEST_CASE("use clock: work in the widget keeps it open, but not for ever")
{
    UseClockFixture f;
    f.table.host.style(".working { in-use: true; }");
    f.opened->children()[0]->addCSSClass("working");
    f.pass(90);
    CHECK(f.isOpen());
    CHECK_FALSE(f.isClosing());
    f.pass(60);
    CHECK_FALSE(f.isOpen());
}

TEST_CASE("use clock: the end of the work begins the time anew")
{
    UseClockFixture f;
    f.table.host.style(".working { in-use: true; }");
    f.opened->children()[0]->addCSSClass("working");
    f.pass(60);
    f.opened->children()[0]->removeCSSClass("working");
    f.pass(36);
    CHECK(f.isOpen());
    f.pass(8);
    CHECK_FALSE(f.isOpen());
}

TEST_CASE("use clock: when its card is lifted the widget closes after a time of its own, counted from then")
{
    UseClockFixture f;
    f.pass(35);
    f.table.host.input.markerUp(f.table.card);
    f.table.host.frame();
    CHECK_FALSE(f.isClosing());
    f.pass(19);
    CHECK(f.isOpen());
    CHECK(f.isClosing());
    f.pass(3);
    CHECK_FALSE(f.isOpen());
}

TEST_CASE("use clock: putting the card back keeps the widget open")
{
    UseClockFixture f;
    f.table.host.input.markerUp(f.table.card);
    f.pass(15);
    f.table.area->setInputEnabled(false);
    f.table.host.input.markerDown(1001, {100.f, 100.f});
    f.table.host.frame();
    CHECK_FALSE(f.isClosing());
    f.pass(24);
    CHECK(f.isOpen());
}

TEST_CASE("use clock: what a card opened closes also when nothing marks it as temporary, such as a popup without an answer")
{
    UseClockFixture f;
    const auto popup = Bedrock::makeIntrusive<Trellis::Widget>();
    popup->postConstruct();
    popup->setSize({400.f, 200.f});
    f.table.host.input.markerDown(1002, {300.f, 200.f});
    f.table.area->setInputEnabled(false);
    f.table.host.mainWidget().addChild(popup);
    popup->setLocation({300.f, 200.f});
    f.table.host.frame();
    CHECK(popup->children().size() == 1); // the handle
    f.pass(41);
    CHECK_FALSE(popup->parent());
}

TEST_CASE("use clock: what a folder opens is kept open by its card, too, and closes after the time of lifted cards")
{
    UseClockFixture f;
    f.table.area->setInputEnabled(false);
    const auto card = f.table.host.input.markerDown(1002, {300.f, 200.f});
    const auto launched = Bedrock::makeIntrusive<Trellis::Widget>();
    launched->postConstruct();
    launched->addCSSClass(Tavola::Utils::temporaryWidgetCSSClass());
    launched->setSize({200.f, 100.f});
    f.table.host.mainWidget().addChild(launched);
    launched->addOperator(Bedrock::makeIntrusive<Tavola::LaunchedContentOperator>(false, Vector2f{300.f, 200.f}, 0.3f));
    f.pass(30);
    CHECK(launched->children().empty()); // no handle
    CHECK(launched->hasPseudoClass("closing"));
    f.table.host.input.markerMove(card, {320.f, 200.f});
    f.table.host.frame();
    CHECK_FALSE(launched->hasPseudoClass("closing"));
    f.table.host.input.markerUp(card);
    f.pass(9);
    CHECK_FALSE(launched->hasPseudoClass("closing"));
    f.pass(3);
    CHECK(launched->hasPseudoClass("closing"));
    f.pass(10);
    CHECK_FALSE(launched->parent());
}

TEST_CASE("use clock: temporary content that no card opened closes, too, and what is there to stay stays")
{
    CareTable table(useSettings());
    const auto content = Bedrock::makeIntrusive<Trellis::Widget>();
    content->postConstruct();
    content->addCSSClass(Tavola::Utils::temporaryWidgetCSSClass());
    table.host.mainWidget().addChild(content);
    table.host.frames(45, 1.0);
    CHECK_FALSE(content->parent());
    CHECK(table.host.mainWidget().children().size() == 1);
}

TEST_CASE("use clock: a use of one widget leaves the clock of another one running")
{
    UseClockFixture f;
    Trellis::Widget& other = f.table.open(1002, {300.f, 540.f});
    f.pass(20);
    f.table.host.tap({1200.f, 300.f});
    f.pass(10);
    CHECK_FALSE(f.opened->hasPseudoClass("closing"));
    CHECK(other.hasPseudoClass("closing"));
}

TEST_CASE("use clock: with less than half a minute the widget shows for half of the time that it closes")
{
    Host::CareSettings soon;
    soon.closeAfterSeconds = 10.f;
    CareTable table(soon);
    const Trellis::Widget& opened = table.open(1001, {960.f, 540.f});
    table.host.frames(16, 0.25);
    CHECK_FALSE(opened.hasPseudoClass("closing"));
    table.host.frames(8, 0.25);
    CHECK(opened.hasPseudoClass("closing"));
}

TEST_CASE("use clock: a turn of the widget about its middle restarts it")
{
    UseClockFixture f;
    f.checkRestart([&] { f.opened->setRotationAboutCenter(0.4f); });
}

TEST_CASE("use clock: typing in one widget leaves the clock of another one running")
{
    UseClockFixture f;
    const Trellis::Widget& other = f.table.open(1002, {300.f, 540.f});
    const auto field = Bedrock::makeIntrusive<Trellis::TextEditWidget>(f.opened);
    field->postConstruct();
    f.table.host.app().setFocusWidget(field.get());
    f.pass(30);
    REQUIRE(other.hasPseudoClass("closing"));
    field->setText(QStringLiteral("a"));
    f.table.host.frame();
    CHECK_FALSE(f.opened->hasPseudoClass("closing"));
    CHECK(other.hasPseudoClass("closing"));
}

TEST_CASE("use clock: a finger on a part that lies outside of the outline, such as a keyboard, restarts it")
{
    UseClockFixture f;
    const auto part = Bedrock::makeIntrusive<Trellis::Widget>(f.opened);
    part->postConstruct();
    part->setSize({100.f, 60.f});
    part->setLocation({700.f, 100.f});
    f.checkRestart([&] { f.table.host.tap(part->mapToScene({50.f, 30.f})); });
}

TEST_CASE("use clock: work in a part that does not show keeps nothing open")
{
    UseClockFixture f;
    f.table.host.style(".working { in-use: true; display: none; }");
    f.opened->children()[0]->addCSSClass("working");
    f.pass(44);
    CHECK_FALSE(f.isOpen());
}
