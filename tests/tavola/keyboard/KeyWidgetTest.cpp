#include <doctest/doctest.h>

#include "keyboard/KeyWidget.hpp"

#include "KeyboardDesk.hpp"

#include <Trellis/FadeAnimator.hpp>
#include <Trellis/GrabManager.hpp>

using KeyboardTests::Desk;
using Tavola::KeyboardKey;
using Tavola::KeyWidget;
using TestSupport::TestHost;
using Vecta::Vector2f;
using Action = KeyboardKey::Action;

namespace
{
/// One key at (300, 200), 100 by 60.
struct OneKey
{
    explicit OneKey(KeyboardKey what = {Action::Text, QStringLiteral("a"), QStringLiteral("A"), 1.f})
        : key(new KeyWidget(&host.mainWidget(), std::move(what)))
    {
        key->setLocation({300.f, 200.f});
        key->setSize({100.f, 60.f});
        key->onPress = [this](KeyWidget&) { ++presses; };
        key->onRelease = [this](KeyWidget&) { ++releases; };
        host.frame();
    }
    void down(int finger, Vector2f point = {350.f, 230.f})
    {
        host.input.fingerDown(finger, point);
        host.frame();
    }
    void up(int finger)
    {
        host.input.fingerUp(finger);
        host.frame();
    }

    TestHost host;
    int presses = 0;
    int releases = 0;
    Bedrock::IntrusivePtr<KeyWidget> key;
};
}

TEST_CASE("key: its classes name what it does, and whether it is wide")
{
    const std::pair<Action, const char*> rows[] = {
        {Action::Text, "key-letter"},     {Action::Dead, "key-dead"},           {Action::Space, "key-space"},
        {Action::Shift, "key-shift"},     {Action::Backspace, "key-backspace"}, {Action::Enter, "key-enter"},
        {Action::Symbols, "key-symbols"}, {Action::Language, "key-language"},   {Action::Left, "key-left"},
        {Action::Right, "key-right"},     {Action::Hide, "key-hide"},
    };
    TestHost host;
    for (const auto& [action, name] : rows) {
        CAPTURE(name);
        const Bedrock::IntrusivePtr<KeyWidget> key(new KeyWidget(&host.mainWidget(), {action, {}, {}, 2.f}));
        CHECK(key->cssType() == "KeyWidget");
        CHECK(key->cssClasses() == QList<QByteArray>{"key", name, "key-wide"});
        CHECK(key->key().action == action);
    }
    const Bedrock::IntrusivePtr<KeyWidget> narrow(new KeyWidget(&host.mainWidget(), {}));
    CHECK_FALSE(narrow->hasCSSClass("key-wide"));
}

TEST_CASE("key: every finger is a press, and only the last one that leaves is a release")
{
    OneKey table;
    table.down(1);
    CHECK(table.presses == 1);
    CHECK(table.key->isPressed());
    table.down(2, {310.f, 210.f});
    CHECK(table.presses == 2);
    table.up(1);
    CHECK(table.releases == 0);
    CHECK(table.key->hasPseudoClass("pressed"));
    table.up(2);
    CHECK(table.releases == 1);
    CHECK_FALSE(table.key->isPressed());
    CHECK_FALSE(table.key->hasPseudoClass("pressed"));
}

TEST_CASE("key: a finger that came down elsewhere presses nothing, one that slides off holds on")
{
    OneKey table;
    table.down(1, {600.f, 230.f});
    table.host.input.fingerMove(1, {350.f, 230.f});
    table.host.frame();
    CHECK(table.presses == 0);
    table.down(2);
    table.host.input.fingerMove(2, {900.f, 600.f});
    table.host.frame();
    CHECK(table.key->isPressed());
    CHECK(table.key->location() == Vector2f(300.f, 200.f));
    table.up(2);
    table.up(1);
    CHECK(table.releases == 1);
}

TEST_CASE("key: a release ends the repeating")
{
    OneKey table;
    table.down(1);
    table.key->repeatAt = 12.5;
    table.up(1);
    CHECK(table.key->repeatAt == 0.0);
}

TEST_CASE("key: its reach counts on all sides, as far as the pixel before it ends")
{
    OneKey table;
    CHECK(table.key->isInside({0.f, 0.f}));
    CHECK_FALSE(table.key->isInside({-1.f, 30.f}));
    CHECK_FALSE(table.key->isInside({100.f, 30.f}));
    table.key->setReach(5.f);
    for (const Vector2f inside : {Vector2f(-5.f, 30.f), Vector2f(104.f, 30.f), Vector2f(50.f, -5.f), Vector2f(50.f, 64.f)})
        CHECK(table.key->isInside(inside));
    for (const Vector2f outside : {Vector2f(-6.f, 30.f), Vector2f(105.f, 30.f), Vector2f(50.f, -6.f), Vector2f(50.f, 65.f)})
        CHECK_FALSE(table.key->isInside(outside));
}

TEST_CASE("key: a card passes through it")
{
    OneKey table;
    const auto card = table.host.input.markerDown(7, {350.f, 230.f});
    table.host.frame();
    CHECK(table.host.app().grabManager()->grabber(card) == &table.host.ui().background()->inputGrabber());
    CHECK(table.presses == 0);
}

TEST_CASE("key: it shows for how long it is in force")
{
    OneKey table({Action::Shift, {}, {}, 1.f});
    const auto states = [&] { return table.key->pseudoClasses(); };
    CHECK(states().isEmpty());
    table.key->setLit(Tavola::ShiftState::Mode::Once);
    CHECK(states() == QList<QByteArray>{"lit"});
    table.key->setLit(Tavola::ShiftState::Mode::Locked);
    CHECK(states() == QList<QByteArray>{"lit", "locked"});
    table.host.frame();
    (void)table.host.app().collectDamage();
    table.key->setLit(Tavola::ShiftState::Mode::Locked);
    table.host.frame();
    CHECK(table.host.app().damage().empty()); // nothing was new
    table.key->setLit(Tavola::ShiftState::Mode::Off);
    CHECK(states().isEmpty());
    table.host.frame();
    CHECK_FALSE(table.host.app().damage().empty());
}

TEST_CASE("key: checking its fingers releases it once when they were taken away without an event")
{
    OneKey table;
    table.key->checkFingers();
    CHECK(table.releases == 0);
    table.down(1);
    table.key->checkFingers();
    CHECK(table.releases == 0);
    table.host.mainWidget().setInputEnabled(false);
    table.host.frame();
    table.key->checkFingers();
    table.key->checkFingers();
    CHECK(table.releases == 1);
    CHECK_FALSE(table.key->isPressed());
    table.up(1);
    CHECK(table.releases == 1);
}

TEST_CASE("key: a handler may remove it, or clear the handlers")
{
    OneKey table;
    SUBCASE("in the press")
    {
        table.key->onPress = [&](KeyWidget& key) {
            key.onPress = nullptr;
            key.onRelease = nullptr;
            key.removeFromParent();
            table.key.reset();
        };
        table.down(1);
        table.up(1);
    }
    SUBCASE("in the release")
    {
        table.key->onRelease = [&](KeyWidget& key) {
            key.onRelease = nullptr;
            key.removeFromParent();
            table.key.reset();
        };
        table.down(1);
        CHECK(table.key);
        table.up(1);
    }
    SUBCASE("no handler")
    {
        table.key->onPress = nullptr;
        table.key->onRelease = nullptr;
        table.down(1);
        CHECK(table.key->isPressed());
        table.up(1);
        return;
    }
    table.host.frame();
    CHECK_FALSE(table.key);
    CHECK_FALSE(table.host.mainWidget().findByType("KeyWidget"));
}

// ---- On a keyboard -----------------------------------------------------------------------------------------------------

TEST_CASE("key: it acts when the finger comes down, and shows it until it leaves")
{
    TestHost host;
    Desk desk(host);
    desk.open();
    Trellis::Widget* const key = desk.keyboard()->findKey("a");
    host.input.fingerDown(1, desk.at(key));
    host.frame();
    CHECK(desk.text() == "a");
    CHECK(key->hasPseudoClass("pressed"));
    host.frames(120); // a letter that is held is written once
    CHECK(desk.text() == "a");
    host.input.fingerUp(1);
    host.frame();
    CHECK_FALSE(key->hasPseudoClass("pressed"));
    CHECK(desk.text() == "a");
}

TEST_CASE("key: two fingers on one key are two letters")
{
    TestHost host;
    Desk desk(host);
    desk.open();
    Trellis::Widget* const key = desk.keyboard()->findKey("e");
    host.input.fingerDown(1, desk.at(key));
    host.frame();
    host.input.fingerDown(2, desk.at(key) + Vector2f(5.f, 0.f));
    host.frame();
    CHECK(desk.text() == "ee");
    host.input.fingerUp(1);
    host.frame();
    CHECK(key->hasPseudoClass("pressed"));
    host.input.fingerUp(2);
    host.frame();
    CHECK_FALSE(key->hasPseudoClass("pressed"));
}

TEST_CASE("key: one whose finger is taken away repeats no longer")
{
    TestHost host;
    Desk desk(host);
    desk.field->editor()->setText("0123456789");
    desk.open();
    host.input.fingerDown(1, desk.at(Action::Backspace));
    host.frame();
    REQUIRE(desk.text().size() == 9);
    SUBCASE("by input that is switched off")
    {
        desk.space->setInputEnabled(false);
    }
    SUBCASE("by a space that fades out")
    {
        Trellis::FadeAnimator::fadeOutAndDelete(*desk.space, 10.f, 0.f);
    }
    host.frame(2.0);
    host.frame(2.0);
    CHECK(desk.text().size() == 9);
    CHECK_FALSE(desk.keyboard()->findKey(Action::Backspace)->hasPseudoClass("pressed"));
    host.input.fingerUp(1);
    host.frame();
}
