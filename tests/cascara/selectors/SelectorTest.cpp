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
Change text(const char* id, const char* value)
{
    return [=](StyleFixture& f) {
        f[id].text = QString::fromUtf8(value);
        f.engine.finishStyling();
    };
}
Change move(const char* id, const char* parent)
{
    return [=](StyleFixture& f) { f[id].setStyleParent(*parent ? &f[parent] : nullptr); };
}
Change both(Change first, Change second)
{
    return [=](StyleFixture& f) {
        first(f);
        second(f);
    };
}
/// Takes the node out and adds it again, as the last child.
Change addAgain(const char* id, const char* parent)
{
    return [=](StyleFixture& f) {
        f[id].setStyleParent(nullptr);
        f[id].setStyleParent(&f[parent]);
    };
}

struct Matches
{
    const char* selector;
    const char* before; ///< the ids
    Change change;
    const char* after;
};

/// Of the nodes that the fixture has.
void check(const Matches& row, StyleFixture& fixture)
{
    INFO(std::string(row.selector));
    fixture.sheet((std::string(row.selector) + " { width: 1 }").c_str());
    CHECK(fixture.styled() == row.before);
    row.change(fixture);
    CHECK(fixture.styled() == row.after);
    // Whatever the nodes were before, a fresh computation gives the same.
    for (const auto& [id, node] : fixture.nodes)
        node->updateStyle();
    CHECK(fixture.styled() == row.after);
}
}

TEST_CASE("selector: matches what it says, before and after a change")
{
    // root (Root) > tray (Panel .dark) > bar (Panel) > send (Button .big .blue), stop (Button)
    //             > note (Text .big)
    const Matches rows[] = {
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
    for (const Matches& row : rows) {
        StyleFixture fixture;
        fixture.add("", "Root", "root");
        fixture.add("root", "Panel", "tray", "dark");
        fixture.add("tray", "Panel", "bar");
        fixture.add("bar", "Button", "send", "big blue");
        fixture.add("bar", "Button", "stop");
        fixture.add("root", "Text", "note", "big");
        check(row, fixture);
    }
}

TEST_CASE("selector: siblings count in the order in which they were added, as nodes come and go")
{
    // root (Root) > a (N), b (N .x), c (M), d (N); c > e (N), f (N); an attached node below root
    const Change destroyB = [](StyleFixture& f) { f.nodes.erase("b"); };
    const Change destroyA = [](StyleFixture& f) { f.nodes.erase("a"); };
    const Matches rows[] = {
        {"N + N", "b f", destroyA, "f"},
        {"N + N", "b f", move("c", ""), "b d f"},
        {"N + N", "b f", move("e", "root"), "b e"},
        {"N+M", "c", destroyB, "c"},
        {".x + M", "c", removeClass("b", "x"), ""},
        {".x + M > N", "e f", removeClass("b", "x"), ""},
        {".x + M > N", "e f", move("b", ""), ""},
        {".x + M > N", "e f", addClass("a", "x"), "e f"},
        {".x ~ N", "d", addClass("a", "x"), "b d"},
        {".x ~ N", "d", destroyB, ""},
        {".x ~ *", "c d", addAgain("b", "root"), ""},
        {"N ~ M N", "e f", setType("b", "M"), "e f"},
        {"N ~ N ~ N", "d", destroyA, ""},
        {"M + N ~ N", "", addAgain("a", "root"), "a"},
        {"Root > :first-child", "a", destroyA, "b"},
        {"Root > :last-child", "d", addAgain("a", "root"), "a"},
        {"Root > :last-child", "d", move("d", ""), "c"},
        {"Root > :last-child", "d", setType("root", "X"), ""},
        {":first-child + *", "b f", destroyA, "c f"},
        {":first-child:last-child", "root", move("f", ""), "e f root"},
        {"Root > :nth-child(2)", "b", destroyA, "c"},
        {"Root > :nth-child(2n+1)", "a c", destroyA, "b d"},
        {"Root > :nth-child(even)", "b d", move("b", ""), "c"},
        {"Root > :nth-child(-n+2)", "a b", move("a", ""), "b c"},
        {"Root > :nth-child(-2n+3)", "a c", addAgain("a", "root"), "b d"},
        {"Root > :nth-child(n+3)", "c d", destroyB, "d"},
        {"Root > :nth-child(0)", "", destroyB, ""},
        {"Root > :nth-child(3) N", "e f", destroyB, ""},
        {"Root > :not(:first-child, :last-child)", "attached b c", destroyA, "attached c"},
        {":is(N, M) + :is(.x, M)", "b c", removeClass("b", "x"), "c"},
        {":is(.x + M) N", "e f", removeClass("b", "x"), ""},
        {":is(Root > N, M > N:first-child)", "a b d e", move("e", ""), "a b d f"},
        {"N:not(Root > *)", "e f", move("d", ""), "d e f"},
        {"N:not(:is(.x, :first-child))", "d f", addClass("f", "x"), "d"},
        {"M :is(:last-child)", "f", move("f", ""), "e"},
        {"Node:first-child", "", setType("attached", "N"), ""},
        {"Root > *", "a attached b c d", destroyA, "attached b c d"},
        {":lang(de) N", "", pseudo("c", "lang(de)", true), "e f"},
        {":lang(de)", "", pseudo("c", "lang(de)", true), "c e f"},
        {"N:lang(de)", "", pseudo("root", "lang(de)", true), "a b d e f"},
        {"N:lang(de) + N", "", pseudo("root", "lang(de)", true), "b f"},
        {"N:lang(de) + N", "", pseudo("e", "lang(de)", true), "f"},
        {"N:lang(de) ~ M > N", "", pseudo("a", "lang(de)", true), "e f"},
        {"M:lang(de) > N", "", pseudo("root", "lang(de)", true), "e f"},
        {"N:not(:lang(de))", "a b d e f", pseudo("c", "lang(de)", true), "a b d"},
        {"N:is(.x:lang(de), M > :lang(de))", "", pseudo("root", "lang(de)", true), "b e f"},
        {"N:lang(de)", "", both(pseudo("c", "lang(de)", true), move("a", "c")), "a e f"},
        {"N:lang(de)", "", both(pseudo("c", "lang(de)", true), move("e", "root")), "f"},
        {"N:lang(de)", "", both(pseudo("c", "lang(de)", true), pseudo("e", "lang(fi)", true)), "f"},
        {"N:lang(de)", "", both(pseudo("c", "lang(de)", true), pseudo("c", "lang(de)", false)), ""},
        {"N:lang(pt)", "", both(pseudo("c", "lang(pt-br)", true), pseudo("c", "lang(pt)", true)), "e f"},
        {":lang(de):not(:lang(de) > *)", "", pseudo("c", "lang(de)", true), "c"},
        {":root", "", pseudo("root", "root", true), "root"},
        {":root > N", "", pseudo("root", "root", true), "a b d"},
    };
    for (const Matches& row : rows) {
        StyleFixture fixture;
        fixture.add("", "Root", "root");
        fixture.add("root", "N", "a");
        fixture.add("root", "N", "b", "x");
        fixture.attach("root", "Node", "attached");
        fixture.add("root", "M", "c");
        fixture.add("root", "N", "d");
        fixture.add("c", "N", "e");
        fixture.add("c", "N", "f");
        check(row, fixture);
    }
}

TEST_CASE("selector: attributes are compared by what the code gave them, and ids as \"id\"")
{
    // root > a (text "one two"), b (text "de-AT"), c (no text given)
    const Matches rows[] = {
        {"[text]", "a b c root", text("a", ""), "a b c root"},
        {"[nosuch]", "", text("a", "x"), ""},
        {"[text=\"\"]", "c root", text("a", ""), "a c root"},
        {"[text=\"one two\"]", "a", text("a", "one"), ""},
        {"[text=\"ONE two\"]", "", text("c", "ONE two"), "c"},
        {"[text=\"ONE two\" i]", "a", text("a", "x"), ""},
        {"[text~=two]", "a", text("b", "two"), "a b"},
        {"[text~=tw]", "", text("b", "a tw"), "b"},
        {"[text~=\"one two\"]", "", text("b", "one two"), ""},
        {"[text~=\"\"]", "", text("b", ""), ""},
        {"[text|=de]", "b", text("a", "de"), "a b"},
        {"[text|=de]", "b", text("a", "deu"), "b"},
        {"[text^=one]", "a", text("c", "one"), "a c"},
        {"[text^=\"\"]", "", text("c", "one"), ""},
        {"[text$=AT]", "b", text("b", "de"), ""},
        {"[text*=\"e t\"]", "a", text("a", "et"), ""},
        {"[text*=\"\"]", "", text("a", "et"), ""},
        {"[width=\"0\"]", "a b c root", text("a", "et"), "a b c root"},
        {"[text=x] + *", "", text("a", "x"), "b"},
        {"[text=x] ~ :not([text=\"\"])", "", text("a", "x"), "b"},
        {"[text=x] > *", "", text("root", "x"), "a b c"},
        {":is([text=x] *, [text|=de])", "b", text("root", "x"), "a b c"},
        {"[id]", "a b c root", setId("a", ""), "b c root"},
        {"[id^=a]", "a", setId("b", "ab"), "a b"},
        {"[id=a] + [id]", "b", setId("a", "x"), ""},
    };
    for (const Matches& row : rows) {
        StyleFixture fixture;
        fixture.add("", "Root", "root");
        fixture.add("root", "N", "a").text = QStringLiteral("one two");
        fixture.add("root", "N", "b").text = QStringLiteral("de-AT");
        fixture.add("root", "N", "c");
        check(row, fixture);
    }
}

TEST_CASE("selector: what a style sheet gives an attribute changes no match, what the code gives below it does")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet("[text=\"\"] { text: styled; width: 1 } [text=given] { height: 1 }");
    fixture.engine.finishStyling();
    CHECK(node.text == QStringLiteral("styled"));
    CHECK(node.width == 1.f);
    node.text = QStringLiteral("styled"); // the same shows
    fixture.engine.finishStyling();
    CHECK(node.width == 0.f);
    node.text.setValue(QStringLiteral("given"), Facet::kDefaultLayer);
    fixture.engine.finishStyling();
    CHECK(node.height == 0.f);
    node.text.clearValue(Facet::kUserLayer);
    fixture.engine.finishStyling();
    CHECK(node.height == 1.f);
}

TEST_CASE("selector: a changed attribute waits for the styles to be finished, and restyles what it can reach")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    for (const char* id : {"a", "b", "c", "d"})
        fixture.add("root", "N", id);
    fixture.sheet("[text=x] + N { width: 1 } [list] { height: 1 }");
    fixture["a"].text = QStringLiteral("y");
    fixture["a"].text = QStringLiteral("x");
    fixture["b"].height = 4.f;
    CHECK(fixture.styled().empty());
    CHECK(fixture.engine.isStylingUnfinished());
    CHECK(CascaraTest::restyledBy([&] { fixture.engine.finishStyling(); }) == 1);
    CHECK(fixture.styled() == "b");
    fixture.engine.clearStyleSheets();
    fixture["a"].text = QStringLiteral("z");
    CHECK_FALSE(fixture.engine.isStylingUnfinished());
}

TEST_CASE("selector: an attribute that comes late is found by selectors when styles are finished")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    fixture.add("root", "N", "a");
    fixture.add("root", "N", "b");
    fixture.sheet("[tested-late] ~ N { width: 1 }");
    const Facet::AttributeT<float> late(&fixture["a"], "tested-late");
    CHECK(root.styleChildren().size() == 2);
    fixture.engine.finishStyling();
    CHECK(fixture.styled() == "b");
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
