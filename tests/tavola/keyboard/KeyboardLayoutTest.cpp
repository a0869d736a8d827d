#include <doctest/doctest.h>

#include "LogCapture.hpp"

#include <Tavola/KeyboardLayout.hpp>

#include <QSet>

#include <algorithm>

using Tavola::KeyboardKey;
using Tavola::KeyboardLayout;
using TestSupport::expectWarning;
using TestSupport::expectWarningStartingWith;
using Action = KeyboardKey::Action;

namespace
{
/// What can be typed with the rows, without shift or with it.
QSet<QString> typedBy(const KeyboardLayout::Rows& rows, bool shifted)
{
    QSet<QString> result;
    for (const auto& row : rows)
        for (const KeyboardKey& key : row)
            if (key.action == Action::Text)
                result.insert(shifted ? key.shifted : key.text);
    return result;
}

int count(const KeyboardLayout::Rows& rows, Action action)
{
    int result = 0;
    for (const auto& row : rows)
        result += int(std::count_if(row.begin(), row.end(), [&](const KeyboardKey& key) { return key.action == action; }));
    return result;
}
}

TEST_CASE("keyboard layout: there are English, German, Finnish and French ones, in this order")
{
    CHECK(KeyboardLayout::names() == QStringList{"en", "de", "fi", "fr"});
    CHECK(KeyboardLayout::find("sv") == nullptr);
}

TEST_CASE("keyboard layout: each types its language's letters, and addresses on the first level")
{
    struct Row
    {
        const char* name;
        const char* own;
        const char* ownCapitals;
    };
    const Row rows[] = {{"en", "", ""}, {"de", "äöüß", "ÄÖÜẞ"}, {"fi", "åäö", "ÅÄÖ"}, {"fr", "éèàçù", "ÉÈÀÇÙ"}};
    for (const Row& row : rows) {
        CAPTURE(row.name);
        const KeyboardLayout* const layout = KeyboardLayout::find(row.name);
        REQUIRE(layout);
        const QString first = QString::fromUtf8("abcdefghijklmnopqrstuvwxyz0123456789@.-_+") + QString::fromUtf8(row.own);
        const QString shifted = QString::fromUtf8("ABCDEFGHIJKLMNOPQRSTUVWXYZ") + QString::fromUtf8(row.ownCapitals);
        const auto small = typedBy(layout->letters, false);
        const auto capital = typedBy(layout->letters, true);
        for (const QChar c : first)
            CHECK_MESSAGE(small.contains(QString(c)), QString(c).toStdString());
        for (const QChar c : shifted)
            CHECK_MESSAGE(capital.contains(QString(c)), QString(c).toStdString());
        for (const auto action : {Action::Space, Action::Shift, Action::Backspace, Action::Enter, Action::Symbols,
                                  Action::Language, Action::Left, Action::Right, Action::Hide})
            CHECK(count(layout->letters, action) >= 1);
        CHECK(count(layout->symbols, Action::Dead) == 5);
        CHECK(count(layout->symbols, Action::Symbols) == 1);
        CHECK(typedBy(layout->symbols, false).contains(QStringLiteral("'")));
    }
}

TEST_CASE("keyboard layout: all rows of a layout are of one length")
{
    for (const QString& name : KeyboardLayout::names()) {
        const KeyboardLayout* const layout = KeyboardLayout::find(name);
        for (const auto* rows : {&layout->letters, &layout->symbols}) {
            for (const auto& row : *rows) {
                CAPTURE(name.toStdString());
                float width = 0.f;
                for (const KeyboardKey& key : row)
                    width += key.width;
                CHECK(width == doctest::Approx(13.f));
            }
        }
    }
}

TEST_CASE("keyboard layout: texts, dead keys and actions are read as they are written")
{
    const auto layout = KeyboardLayout::read(R"({ "name": "x", "letters": [
        ["a", "1!", "ß", { "text": ".com", "width": 2 }, { "dead": "^", "shift": "~" }, { "action": "enter", "width": 1.5 }] ] })",
                                             "x.json");
    REQUIRE(layout);
    CHECK(layout->label == "X");
    CHECK(layout->title == "X");
    REQUIRE(layout->letters.size() == 1);
    const auto& row = layout->letters.front();
    REQUIRE(row.size() == 6);
    CHECK(row[0].text == "a");
    CHECK(row[0].shifted == "A");
    CHECK(row[1].text == "1");
    CHECK(row[1].shifted == "!");
    CHECK(row[2].text == QString::fromUtf8("ß"));
    CHECK(row[3].text == ".com");
    CHECK(row[3].shifted == ".COM");
    CHECK(row[3].width == 2.f);
    CHECK(row[4].action == Action::Dead);
    CHECK(row[4].shifted == "~");
    CHECK(row[5].action == Action::Enter);
    CHECK(row[5].width == 1.5f);
}

TEST_CASE("keyboard layout: a malformed key is left out with a warning that names the place, the others stay")
{
    struct Row
    {
        const char* key;
        const char* complaint;
    };
    const Row rows[] = {
        {R"("")", "expected a text of one or two characters"},
        {R"("abc")", "expected a text of one or two characters"},
        {"7", "expected a text of one or two characters or an object with \"text\", \"dead\" or \"action\""},
        {R"({ "width": 2 })", "expected one of \"text\", \"dead\" and \"action\""},
        {R"({ "text": "a", "action": "enter" })", "expected one of \"text\", \"dead\" and \"action\""},
        {R"({ "text": 5 })", "expected texts for \"text\", \"shift\", \"dead\" and \"action\""},
        {R"({ "text": "a", "size": 5 })", "unknown entry; known are text, shift, dead, action, width"},
        {R"({ "text": "a", "width": -1 })", "expected a \"width\" from 0.25 to 20"},
        {R"({ "text": "a", "width": "wide" })", "expected a \"width\" from 0.25 to 20"},
        {R"({ "dead": "x" })", "a dead key is one of ´ ` ^ ¨ ~"},
        {R"({ "action": "explode" })",
         "unknown action; known are space, shift, backspace, enter, symbols, language, left, right, hide, gap"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.key);
        expectWarning(std::string("KeyboardLayout # x.json: letters[1][2]: ") + row.complaint + "; the key is skipped");
        const auto layout = KeyboardLayout::read(
            QByteArray(R"({ "name": "x", "letters": [["q"], ["a", "b", )") + row.key + R"(, "c"]] })", "x.json");
        REQUIRE(layout);
        REQUIRE(layout->letters.size() == 2);
        CHECK(layout->letters[1].size() == 3);
        CHECK(layout->letters[1].back().text == "c");
    }
}

TEST_CASE("keyboard layout: what is no layout at all is nothing, with a warning")
{
    SUBCASE("no JSON")
    {
        expectWarningStartingWith("KeyboardLayout # x.json: 2:");
        CHECK_FALSE(KeyboardLayout::read("{\n \"name\" \"x\" }", "x.json"));
    }
    SUBCASE("no object")
    {
        expectWarning("KeyboardLayout # x.json: 1:1: expected an object; the layout is skipped");
        CHECK_FALSE(KeyboardLayout::read("[]", "x.json"));
    }
    SUBCASE("no name")
    {
        expectWarning("KeyboardLayout # x.json: name: expected a name; the layout is skipped");
        CHECK_FALSE(KeyboardLayout::read(R"({ "letters": [["a"]] })", "x.json"));
    }
    SUBCASE("no key")
    {
        expectWarning("KeyboardLayout # x.json: letters: there is no key; the layout is skipped");
        CHECK_FALSE(KeyboardLayout::read(R"({ "name": "x", "letters": [] })", "x.json"));
    }
    SUBCASE("rows that are none")
    {
        expectWarning("KeyboardLayout # x.json: letters[0]: expected a list of keys; the row is skipped");
        const auto layout = KeyboardLayout::read(R"({ "name": "x", "letters": ["abc", ["a"]] })", "x.json");
        REQUIRE(layout);
        CHECK(layout->letters.size() == 1);
    }
}
