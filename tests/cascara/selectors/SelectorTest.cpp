#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

#include <functional>

using CascaraTest::StyleFixture;

namespace
{
using Change = std::function<void(StyleFixture&)>;

Change addClass(const char* id, const char* name)
{
    return [=](StyleFixture& f) { f[id].addCSSClass(name); };
}
Change removeClass(const char* id, const char* name)
{
    return [=](StyleFixture& f) { f[id].removeCSSClass(name); };
}
Change pseudo(const char* id, const char* name, bool on)
{
    return [=](StyleFixture& f) { f[id].setPseudoClass(name, on); };
}
Change setId(const char* id, const char* name)
{
    return [=](StyleFixture& f) { f[id].setCSSId(name); };
}
Change setType(const char* id, const char* name)
{
    return [=](StyleFixture& f) { f[id].setCSSType(name); };
}
Change move(const char* id, const char* parent)
{
    return [=](StyleFixture& f) { f[id].setStyleParent(*parent ? &f[parent] : nullptr); };
}
}

TEST_CASE("selector: matches what it says, before and after a change")
{
    struct Row
    {
        const char* selector;
        const char* matches;
        Change change;
        const char* matchesAfter;
    };
    // root (Root) > tray (Panel .dark) > bar (Panel) > send (Button .big .blue), stop (Button)
    //             > note (Text .big)
    const Row rows[] = {
        {"Button", "send stop", setType("stop", "Text"), "send"},
        {"Button", "send stop", setType("note", "Button"), "note send stop"},
        {"button", "", setType("stop", "button"), "stop"},
        {"*", "bar note root send stop tray", addClass("root", "x"), "bar note root send stop tray"},
        {"#send", "send", setId("send", "other"), ""},
        {"#other", "", setId("note", "other"), "note"},
        {".big", "note send", removeClass("send", "big"), "note"},
        {".big.blue", "send", addClass("note", "blue"), "note send"},
        {"#tray > Button.big", "", move("send", "tray"), "send"},
        {"#tray Button.big", "send", removeClass("send", "big"), ""},
        {"#tray #bar > Button", "send stop", move("stop", "root"), "send"},
        {"Root > Panel > Panel > Button", "send stop", move("bar", "root"), ""},
        {"Root Button", "send stop", move("tray", ""), ""},
        {".dark Button", "send stop", removeClass("tray", "dark"), ""},
        {".dark > Button", "", addClass("bar", "dark"), "send stop"},
        {".dark > * > Button", "send stop", addClass("bar", "light"), "send stop"},
        {"Panel Panel", "bar", setType("bar", "Text"), ""},
        {"Panel Panel Button", "send stop", setType("tray", "Text"), ""},
        {"Button:hover", "", pseudo("stop", "hover", true), "stop"},
        {":hover Button", "", pseudo("root", "hover", true), "send stop"},
        {"Panel:hover > Button", "", pseudo("bar", "hover", true), "send stop"},
        {"Button:not(.big)", "stop", addClass("stop", "big"), ""},
        {"Button:not(.big)", "stop", removeClass("send", "big"), "send stop"},
        {"Button:not(:hover)", "send stop", pseudo("stop", "hover", true), "send"},
        {"*:not(Button, .big, Root)", "bar tray", addClass("bar", "big"), "tray"},
        {":not(Button):not(Panel)", "note root", setType("note", "Panel"), "root"},
        {"Button:NOT( .big.blue , #stop )", "", removeClass("send", "blue"), "send"},
        {"Button:not(:not(.big))", "send", addClass("stop", "big"), "send stop"},
        {":not(.dark) > Button", "send stop", addClass("bar", "dark"), ""},
        {":not(.dark) Button", "send stop", addClass("root", "dark"), "send stop"},
        {"Button, .big", "note send stop", removeClass("note", "big"), "send stop"},
        {"Root>Panel>Panel>Button", "send stop", setType("root", "Panel"), ""},
        {"#tray\n/* deep */ Button", "send stop", setId("tray", "x"), ""},
        {".x\\:y", "", addClass("bar", "x:y"), "bar"},
        {".\\31 0", "", addClass("bar", "10"), "bar"},
        {"#gr\xC3\xBCn", "", setId("bar", "gr\xC3\xBCn"), "bar"},
        {".dark .dark Button", "", addClass("root", "dark"), "send stop"},
        {"Panel > Panel Button", "send stop", move("send", "note"), "stop"},
    };
    for (const Row& row : rows) {
        INFO(row.selector);
        StyleFixture fixture;
        fixture.add("", "Root", "root");
        fixture.add("root", "Panel", "tray", "dark");
        fixture.add("tray", "Panel", "bar");
        fixture.add("bar", "Button", "send", "big blue");
        fixture.add("bar", "Button", "stop");
        fixture.add("root", "Text", "note", "big");
        fixture.sheet((std::string(row.selector) + " { width: 1 }").c_str());
        CHECK(fixture.styled() == row.matches);
        row.change(fixture);
        CHECK(fixture.styled() == row.matchesAfter);
    }
}

TEST_CASE("selector: the more specific one wins, and of equals the later one")
{
    struct Row
    {
        const char* css;
        float width;
    };
    const Row rows[] = {
        {"N { width: 1 } N { width: 2 }", 2},
        {"N.a { width: 1 } N { width: 2 }", 1},
        {".a { width: 1 } Root N { width: 2 }", 1},
        {"#n { width: 1 } Root.r > N.a.b:on { width: 2 }", 1},
        {".a { width: 1 } .b { width: 2 }", 2},
        {".b { width: 1 } .a { width: 2 }", 2},
        {".a { width: 1 } :on { width: 2 }", 2},
        {".a.b { width: 1 } .a { width: 2 }", 1},
        {".a.a { width: 1 } .b { width: 2 }", 1},
        {"* { width: 1 } N { width: 2 }", 2},
        {"N { width: 1 } * { width: 2 }", 1},
        {"N:not(.c) { width: 1 } N { width: 2 }", 1},
        {"N:not(#x, .c) { width: 1 } N.a.b { width: 2 }", 1},
        {"N:not(M) { width: 1 } N.a { width: 2 }", 2},
        {"#n, N { width: 1 } .a { width: 2 }", 1},
        {"N, .c { width: 1 } N { width: 2 }", 2},
        {"N { width: 1; width: 2 }", 2},
        {"N { width: 1 !important } #n { width: 2 }", 1},
        {"N { width: 1 !important } #n { width: 2 !IMPORTANT }", 2},
        {"N { width: 1 ! important ; width: 2 }", 1},
        {"#n { width: 1 } N { width: abc !important }", 1},
        {"N { width: 1; width: abc }", 1},
        {"Root N { width: 1 } Root > N { width: 2 }", 2},
        {"Root > N { width: 1 } Root N { width: 2 }", 2},
    };
    for (const Row& row : rows) {
        INFO(row.css);
        StyleFixture fixture;
        fixture.add("", "Root", "root", "r");
        auto& node = fixture.add("root", "N", "n", "a b");
        node.setPseudoClass("on", true);
        if (std::string(row.css).find("abc") != std::string::npos)
            TestSupport::expectWarningStartingWith("StyleEngine # test.css:1:");
        fixture.sheet(row.css);
        CHECK(node.width == row.width);
    }
}

TEST_CASE("selector: order counts over sheets as well, whatever list of a rule matched")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n", "a");
    fixture.sheet(".a { width: 1 }");
    fixture.sheet("M, .a { width: 2 }");
    CHECK(node.width == 2.f);
    fixture.sheet("N, M { width: 3 }");
    CHECK(node.width == 2.f);
}
