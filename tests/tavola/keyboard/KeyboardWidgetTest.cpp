#include <doctest/doctest.h>

#include "KeyboardDesk.hpp"
#include "LogCapture.hpp"

#include <Trellis/FadeAnimator.hpp>

#include <QKeyEvent>

#include <functional>
#include <string>

using Bedrock::IntrusivePtr;
using Bedrock::IntrusiveWeakPtr;
using KeyboardTests::Action;
using KeyboardTests::Desk;
using KeyboardTests::u;
using Tavola::KeyboardWidget;
using TestSupport::TestHost;
using Vecta::Vector2f;

namespace
{
constexpr float kFadeOutSeconds = 0.2f;

void physicalKey(TestHost& host, int key, const QString& text)
{
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, text);
    host.app().keyPressed(event);
}

struct NewDesk
{
    TestHost host;
    Desk desk{host};
};

/// A table with a desk whose keyboard is open.
struct OpenDesk : NewDesk
{
    OpenDesk() { desk.open(); }
};
}

// ---- Typing ----------------------------------------------------------------------------------------------------------

TEST_CASE_FIXTURE(NewDesk, "keyboard: a tap on the field opens it, and what is typed stands in the field")
{
    CHECK_FALSE(desk.keyboard());
    desk.open();
    CHECK(desk.field->editor()->isEditing());
    CHECK(desk.keyboard()->layoutName() == "en");
    CHECK(desk.keyboard()->field() == desk.field);
    desk.type("ann.b-c_d+e@x.org");
    CHECK(desk.text() == "ann.b-c_d+e@x.org");
}

TEST_CASE("keyboard: each layout types its language's letters, small and capital")
{
    struct Row
    {
        const char* layout;
        const char* text;
        const char* capitals;
    };
    const Row rows[] = {{"en", "the quick brown fox jumps over the lazy dog", "QWERTY"},
                        {"de", "zwölf boxkämpfer jagen größte übel", "QWERTZÄÖÜ"},
                        {"fi", "törkylempijävongahdus åland", "QWERTYÅÄÖ"},
                        {"fr", "où était le garçon là", "AZERTYÉÈÀÇÙ"}};
    for (const Row& row : rows) {
        CAPTURE(row.layout);
        TestHost host;
        Desk desk(host);
        desk.layout(row.layout);
        desk.open();
        CHECK(desk.keyboard()->hasCSSClass(QByteArray("layout-") + row.layout));
        desk.type(u(row.text));
        CHECK(desk.text() == u(row.text));
        desk.field->reset();
        for (const QChar c : u(row.capitals)) {
            host.frame(1.0); // two quick presses of shift would lock it
            desk.press(Action::Shift);
            desk.press(QString(c));
        }
        CHECK(desk.text() == u(row.capitals));
    }
}

TEST_CASE("keyboard: a dead key joins the letter typed next")
{
    struct Row
    {
        const char* layout;
        const char* keys;
        const char* text;
    };
    const Row rows[] = {{"de", "´e", "é"},    {"de", "´a", "á"},   {"de", "^o", "ô"},  {"fi", "¨u", "ü"},
                        {"fi", "´e", "é"},    {"fi", "~n", "ñ"},   {"fr", "^e", "ê"},  {"fr", "`a", "à"},
                        {"de", "´ ", "´"},    {"fi", "~ ", "~"},   {"de", "^^", "^"},  {"de", "^´e", "^é"},
                        {"de", "´x1", "´x1"}, {"fi", "¨yx", "ÿx"}, {"de", "´1", "´1"}, {"de", "a´eb", "aéb"}};
    for (const Row& row : rows) {
        CAPTURE(row.layout);
        CAPTURE(row.keys);
        TestHost host;
        Desk desk(host);
        desk.layout(row.layout);
        desk.open();
        desk.type(u(row.keys));
        CHECK(desk.text() == u(row.text));
    }
}

TEST_CASE_FIXTURE(NewDesk, "keyboard: a dead key with shift and a capital after it")
{
    desk.layout("fr");
    desk.open();
    desk.press(Action::Shift);
    desk.press(u("¨"));
    host.frame(1.0);
    desk.press(Action::Shift);
    desk.press(u("E"));
    CHECK(desk.text() == u("Ë"));
}

TEST_CASE_FIXTURE(NewDesk, "keyboard: a dead key shines while it waits, backspace takes it back, and enter loses nothing")
{
    desk.layout("de");
    desk.open();
    desk.press(u("´"));
    CHECK(desk.text().isEmpty());
    CHECK(desk.keyboard()->findKey(u("´"))->hasPseudoClass("lit"));
    SUBCASE("backspace")
    {
        desk.press(Action::Backspace);
        CHECK_FALSE(desk.keyboard()->findKey(u("´"))->hasPseudoClass("lit"));
        desk.press(u("e"));
        CHECK(desk.text() == "e");
    }
    SUBCASE("enter")
    {
        desk.press(Action::Enter);
        CHECK(*desk.finished == QStringList{u("´:enter")});
    }
}

TEST_CASE("keyboard: the five accents are on the symbols of every layout, and lead back to the letters")
{
    for (const QString& name : Tavola::KeyboardLayout::names()) {
        CAPTURE(name.toStdString());
        TestHost host;
        Desk desk(host);
        desk.layout(name.toLatin1());
        desk.open();
        for (const char* accent : {"´", "`", "^", "¨", "~"}) {
            desk.press(Action::Symbols);
            REQUIRE(desk.keyboard()->showsSymbols());
            desk.press(u(accent));
            CHECK_FALSE(desk.keyboard()->showsSymbols());
            desk.press(u("o"));
        }
        CHECK(desk.text() == u("óòôöõ"));
    }
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: shift holds for one letter, pressed twice it locks, pressed again it is over")
{
    const auto shiftIs = [&](const char* pseudo) { return desk.keyboard()->findKey(Action::Shift)->hasPseudoClass(pseudo); };
    desk.press(Action::Shift);
    CHECK(shiftIs("lit"));
    CHECK_FALSE(shiftIs("locked"));
    CHECK_FALSE(desk.keyboard()->findKey("a"));
    desk.press(u("A"));
    CHECK_FALSE(shiftIs("lit"));
    desk.press(u("b"));
    CHECK(desk.text() == "Ab");

    host.frame(1.0);
    desk.press(Action::Shift);
    desk.press(Action::Shift);
    CHECK(shiftIs("locked"));
    desk.type("CDE");
    host.frame(1.0);
    desk.press(Action::Shift);
    CHECK_FALSE(shiftIs("lit"));
    desk.press(u("f"));
    CHECK(desk.text() == "AbCDEf");

    // Slowly pressed twice it is on and off again.
    host.frame(1.0);
    desk.press(Action::Shift);
    host.frame(1.0);
    desk.press(Action::Shift);
    CHECK_FALSE(shiftIs("lit"));
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: shift held by one finger lasts for all that another one types")
{
    host.input.fingerDown(1, desk.at(Action::Shift));
    host.frame();
    desk.type("ABC");
    host.input.fingerUp(1);
    host.frame();
    desk.type("d");
    CHECK(desk.text() == "ABCd");
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: the symbols key leads to the symbols and back")
{
    desk.press(Action::Symbols);
    CHECK(desk.keyboard()->showsSymbols());
    desk.type(u("€#{}"));
    desk.press(Action::Symbols);
    desk.type("a");
    CHECK(desk.text() == u("€#{}a"));
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: the cursor keys and backspace work at the cursor")
{
    desk.type("abc");
    desk.press(Action::Left);
    desk.press(Action::Left);
    desk.press(Action::Backspace);
    desk.type("x");
    desk.press(Action::Right);
    desk.type("y");
    CHECK(desk.text() == "xbyc");
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: the room between two keys belongs to them")
{
    const Vector2f f = desk.at("f");
    const Vector2f g = desk.at("g");
    for (int i = 0; i <= 20; ++i)
        host.tap(f + (g - f) * (float(i) / 20.f));
    CHECK(desk.text().size() == 21);
    CHECK(desk.text().count('f') + desk.text().count('g') == 21);
}

TEST_CASE_FIXTURE(NewDesk, "keyboard: backspace repeats while it is held, by the table's time")
{
    host.style("KeyboardWidget { repeat-delay: 0.5s; repeat-interval: 0.1s }");
    desk.field->editor()->setText("0123456789");
    desk.open();
    host.input.fingerDown(1, desk.at(Action::Backspace));
    host.frame(0.0);
    CHECK(desk.text().size() == 9);
    host.frame(0.45);
    CHECK(desk.text().size() == 9);
    host.frame(0.06);
    CHECK(desk.text().size() == 8);
    host.frame(0.05);
    CHECK(desk.text().size() == 8);
    host.frame(0.05);
    CHECK(desk.text().size() == 7);
    host.frame(0.3); // a late frame makes up for the time
    CHECK(desk.text().size() == 4);
    host.input.fingerUp(1);
    host.frame(0.0);
    host.frame(1.0);
    CHECK(desk.text().size() == 4);
}

// ---- Ends --------------------------------------------------------------------------------------------------------------

TEST_CASE_FIXTURE(OpenDesk, "keyboard: enter finishes with the text and the reason enter, once, and closes it")
{
    const IntrusiveWeakPtr<KeyboardWidget> keyboard(desk.keyboard());
    desk.type("ann");
    desk.press(Action::Enter);
    CHECK(*desk.finished == QStringList{"ann:enter"});
    CHECK_FALSE(desk.keyboard());
    CHECK_FALSE(desk.field->editor()->isEditing());
    REQUIRE(keyboard);
    CHECK(Trellis::FadeAnimator::isFadingOut(*keyboard.lock()));
    host.frame(kFadeOutSeconds);
    host.frame();
    CHECK_FALSE(keyboard);
    CHECK(*desk.finished == QStringList{"ann:enter"});
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: the hide key closes it with the reason escape, and a tap opens a new one")
{
    desk.type("a");
    desk.press(Action::Hide);
    CHECK(*desk.finished == QStringList{"a:escape"});
    CHECK_FALSE(desk.keyboard());
    desk.open();
    desk.type("b");
    CHECK(desk.text() == "ab");
    host.frames(60);
    CHECK(desk.space->findAllByType("KeyboardWidget").size() == 1);
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: an end from the code closes it without an enter")
{
    desk.type("a");
    SUBCASE("of the editor")
    {
        desk.field->editor()->endEditing();
    }
    SUBCASE("of the keyboard")
    {
        desk.keyboard()->close();
    }
    CHECK(*desk.finished == QStringList{"a:focus-lost"});
    CHECK_FALSE(desk.keyboard());
    CHECK(host.app().focusWidget() == nullptr);
    host.frames(30);
    CHECK(desk.space->findAllByType("KeyboardWidget").empty());
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: a listener of enter that begins editing again keeps it open")
{
    desk.field->editor()->eventAddListener("editing-finished", [&] { host.app().setFocusWidget(desk.field->editor().get()); });
    const auto keyboard = desk.keyboard();
    desk.press(Action::Enter);
    CHECK(desk.field->editor()->isEditing());
    REQUIRE(desk.keyboard());
    desk.type("a");
    CHECK(desk.text() == "a");
}

TEST_CASE_FIXTURE(NewDesk, "keyboard: it closes when the field is hidden")
{
    host.style(".sheet.busy InputFieldWidget { display: none }");
    desk.open();
    desk.space->addCSSClass("busy");
    host.frame();
    CHECK_FALSE(desk.keyboard());
    CHECK(*desk.finished == QStringList{":focus-lost"});
    host.frames(30);
    CHECK(desk.space->findAllByType("KeyboardWidget").empty());
}

TEST_CASE("keyboard: whatever is taken away while a visitor types goes safely")
{
    enum class Victim { Field, Space, Keyboard, Editor };
    enum class When { AtRest, AtChange, AtEnter };
    for (const Victim victim : {Victim::Field, Victim::Space, Victim::Keyboard, Victim::Editor}) {
        for (const When when : {When::AtRest, When::AtChange, When::AtEnter}) {
            CAPTURE(int(victim));
            CAPTURE(int(when));
            TestHost host;
            IntrusiveWeakPtr<KeyboardWidget> keyboard;
            {
                Desk desk(host);
                desk.open();
                keyboard = desk.keyboard();
                auto editor = desk.field->editor();
                host.input.fingerDown(7, desk.at(Action::Backspace)); // rests on a key meanwhile
                host.frame();
                const std::function<void()> removeVictim = [&] {
                    if (victim == Victim::Field)
                        desk.field->removeFromParent();
                    else if (victim == Victim::Space)
                        desk.space->removeFromParent();
                    else if (victim == Victim::Editor)
                        editor->removeFromParent();
                    else if (const auto open = keyboard.lock())
                        open->removeFromParent();
                };
                Facet::Node::ListenerId listener = 0;
                if (when == When::AtChange)
                    listener = editor->eventAddListener("text-changed", removeVictim);
                if (when == When::AtEnter)
                    listener = editor->eventAddListener("editing-finished", removeVictim);
                const Vector2f key = when == When::AtEnter ? desk.at(Action::Enter) : desk.at("a");
                if (when == When::AtRest)
                    removeVictim();
                else
                    host.tap(key);
                host.frames(2);
                editor->eventRemoveListener(listener);
                if (victim == Victim::Keyboard) {
                    CHECK_FALSE(editor->isEditing());
                    CHECK(desk.finished->size() == 1);
                }
                host.frame(1.0);
            }
            host.input.fingerUp(7);
            host.frame(1.0);
            host.frames(2);
            if (victim != Victim::Editor)
                CHECK_FALSE(keyboard);
        }
    }
}

TEST_CASE("keyboard: an editor that outlives its field and keyboard can still be written in")
{
    TestHost host;
    IntrusivePtr<Trellis::TextEditWidget> editor;
    {
        Desk desk(host);
        desk.open();
        editor = desk.field->editor();
        desk.space->removeFromParent();
    }
    host.frames(2);
    editor->insertText("late");
    editor->endEditing();
    CHECK(editor->text() == "late");
}

// ---- Several visitors ----------------------------------------------------------------------------------------------------

TEST_CASE("keyboard: two visitors type at once, each into their own field")
{
    TestHost host;
    Desk ann(host, {20.f, 60.f});
    Desk bo(host, {1250.f, 60.f}, 0.2f);
    ann.open();
    bo.open();
    CHECK(ann.keyboard());
    CHECK(ann.field->editor()->isEditing());
    CHECK(ann.finished->isEmpty());
    const QString annTypes = "ann@example.org";
    const QString boTypes = "bo-b@example.net";
    for (int i = 0; i < boTypes.size(); ++i) {
        // Fingers overlap: one is down before the other one leaves.
        if (i < annTypes.size())
            host.input.fingerDown(1, ann.at(QString(annTypes[i])));
        host.frame();
        host.input.fingerDown(2, bo.at(QString(boTypes[i])));
        host.frame();
        if (i < annTypes.size())
            host.input.fingerUp(1);
        host.frame();
        host.input.fingerUp(2);
    }
    host.frame();
    CHECK(ann.text() == annTypes);
    CHECK(bo.text() == boTypes);

    ann.press(Action::Enter);
    CHECK(*ann.finished == QStringList{annTypes + ":enter"});
    CHECK(bo.finished->isEmpty());
    CHECK(bo.keyboard());
    bo.press(Action::Enter);
    CHECK(*bo.finished == QStringList{boTypes + ":enter"});
}

TEST_CASE("keyboard: the physical keyboard writes where was tapped last, and nowhere else")
{
    TestHost host;
    Desk ann(host, {20.f, 60.f});
    Desk bo(host, {1250.f, 60.f});
    ann.open();
    physicalKey(host, Qt::Key_A, "a");
    bo.open();
    physicalKey(host, Qt::Key_B, "b");
    ann.press(u("x")); // typing on the table does not call the physical keyboard
    physicalKey(host, Qt::Key_C, "c");
    CHECK(ann.text() == "ax");
    CHECK(bo.text() == "bc");
    physicalKey(host, Qt::Key_Return, "\r");
    CHECK(*bo.finished == QStringList{"bc:enter"});
    CHECK_FALSE(bo.keyboard());
    CHECK(ann.keyboard());
    ann.type("y");
    CHECK(ann.text() == "axy");
    physicalKey(host, Qt::Key_D, "d");
    CHECK(ann.text() == "axy");
}

// ---- Which layout -----------------------------------------------------------------------------------------------------------

TEST_CASE("keyboard: the layout is that of the field, the keyboard, the user interface or English")
{
    TestHost host;
    SUBCASE("the user interface")
    {
        host.ui().setKeyboardLayout("fi");
        Desk desk(host);
        CHECK(desk.open().keyboard()->layoutName() == "fi");
    }
    SUBCASE("the field's style goes before it")
    {
        host.ui().setKeyboardLayout("fi");
        host.style("InputFieldWidget { keyboard-layout: de }");
        Desk desk(host);
        CHECK(desk.open().keyboard()->layoutName() == "de");
    }
    SUBCASE("the keyboard's style goes before that")
    {
        host.style("InputFieldWidget { keyboard-layout: de } KeyboardWidget { keyboard-layout: fr }");
        Desk desk(host);
        CHECK(desk.open().keyboard()->layoutName() == "fr");
    }
    SUBCASE("one that there is not is a warning, and English")
    {
        TestSupport::expectWarning(
            "KeyboardWidget # There is no keyboard layout \"tlh\"; known are en, de, fi, fr; \"en\" is used");
        Desk desk(host);
        desk.layout("tlh");
        desk.open();
        host.frames(3);
        desk.type("q");
        CHECK(desk.text() == "q");
    }
    SUBCASE("none at all")
    {
        host.style("InputFieldWidget { keyboard-layout: none }");
        Desk desk(host);
        host.tap(desk.field->editor()->mapToScene({10.f, 10.f}));
        CHECK_FALSE(desk.keyboard());
        physicalKey(host, Qt::Key_A, "a");
        CHECK(desk.text() == "a");
    }
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: the language key goes through the layouts, and the field remembers the choice")
{
    QStringList seen;
    for (int i = 0; i < 4; ++i) {
        seen.append(desk.keyboard()->layoutName());
        desk.press(Action::Language);
    }
    CHECK(seen == QStringList{"en", "de", "fi", "fr"});
    CHECK(desk.keyboard()->layoutName() == "en");
    desk.press(Action::Language);
    desk.type(u("ü"));
    desk.press(Action::Hide);
    desk.open();
    CHECK(desk.keyboard()->layoutName() == "de");
    CHECK(desk.text() == u("ü"));
}

TEST_CASE_FIXTURE(OpenDesk, "keyboard: style sheets reach it and its keys, and change its look while it is open")
{
    const auto color = [](Trellis::Widget* widget) { return widget->attribute("background-color")->toText().toLower(); };
    Trellis::Widget* const key = desk.keyboard()->findKey("a");
    const QString usual = color(key);
    host.input.fingerDown(1, desk.at(key));
    host.frame();
    CHECK(color(key) != usual);
    host.input.fingerUp(1);
    host.frame();
    CHECK(color(key) == usual);
    host.style("KeyboardWidget { key-size: 60px } .key { background-color: #112233 } .key:pressed { background-color: #445566 }"
               ".key-enter.key-wide { background-color: #778899 }");
    host.frame();
    Trellis::Widget* const larger = desk.keyboard()->findKey("a");
    CHECK(larger->height() == 60.f);
    CHECK(color(larger) == "#112233");
    CHECK(color(desk.keyboard()->findKey(Action::Enter)) == "#778899");
    host.input.fingerDown(1, desk.at(larger));
    host.frame();
    CHECK(color(larger) == "#445566");
    host.input.fingerUp(1);
    host.frame();
}
