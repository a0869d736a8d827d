#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

#include <string>

using CascaraTest::restyledBy;
using CascaraTest::StyleFixture;
using CascaraTest::TestNode;
using TestSupport::expectWarning;

TEST_CASE("node styler: variables are inherited, and definitions on the way down go before")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    fixture.add("root", "Panel", "panel");
    auto& node = fixture.add("panel", "N", "n");
    fixture.sheet("Root { --size: 3; --text: \"from the root\" } N { width: var(--size); text: var(--text) }");
    CHECK(node.width == 3.f);
    CHECK(node.text == QStringLiteral("from the root"));
    fixture.sheet(".wide { --size: 5px } .wider { --size: var(--text) }");
    fixture["panel"].addCSSClass("wide");
    CHECK(node.width == 5.f);
    fixture["panel"].removeCSSClass("wide");
    CHECK(node.width == 3.f);
    node.setStyleParent(nullptr); // which is no mistake of the sheet
    CHECK(node.width == 0.f);
    node.setStyleParent(&fixture["panel"]);
    CHECK(node.width == 3.f);
}

TEST_CASE("node styler: a fallback that stands in for a variable of the tree is no mistake before its node is in the tree")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root").setPseudoClass("root", true);
    fixture.sheet("Root { --size: 3 } #side { --other: 4 } .x { width: var(--size, wide) } .y { width: var(--other, wide) }");
    TestNode& x = fixture.add("", "N", "x", "x");
    CHECK(x.width == 0.f);
    x.setStyleParent(&fixture["root"]);
    CHECK(x.width == 3.f);
    TestNode& y = fixture.add("", "N", "y", "y");
    expectWarning("StyleEngine # test.css:1:78: width: expected a number, got 'wide'; the default is used");
    y.setStyleParent(&fixture["root"]);
    CHECK(y.width == 0.f);
}

TEST_CASE("node styler: the cascade decides which definition of a variable holds")
{
    struct Row
    {
        const char* css;
        float width;
    };
    const Row rows[] = {
        {"N { --v: 1 } N { --v: 2 }", 2},
        {"#n { --v: 1 } N { --v: 2 }", 1},
        {"N { --v: 1 !important } #n { --v: 2 }", 1},
        {"N { --v: 1; --v: 2 }", 2},
        {"N { --V: 1 }", 9},
        {"Root { --v: 4 } N { --v: initial }", 9},
        {"Root { --v: 4 } N { --v: inherit }", 4},
        {"Root { --v: 4 } N { --v: unset }", 4},
        {"Root { --v: 4; --w: 5 } N { --v: var(--w) }", 5},
        {"Root { --v: 4 } N { --v: var(--v) }", 9},
        {"N { --v: var(--none) }", 9},
        {"N { --v: 1 2 } N { --v: 3 }", 3},
    };
    for (const Row& row : rows) {
        INFO(std::string(row.css));
        StyleFixture fixture;
        fixture.add("", "Root", "root");
        auto& node = fixture.add("root", "N", "n");
        fixture.sheet(("N { width: var(--v, 9) } " + std::string(row.css)).c_str());
        CHECK(node.width == row.width);
    }
}

TEST_CASE("node styler: what turns out wrong once variables are in it gives the default, not the next weaker rule")
{
    struct Row
    {
        const char* css;
        const char* warning;
    };
    const Row rows[] = {
        {"N { width: 1 } #n { --v: red;\n width: var(--v) }",
         "2:2: width: expected a number, got 'red' with --v (test.css:1:21); the default is used"},
        {"N { width: 1 } #n { width: var(--none) }", "1:21: width: there is no variable '--none'; the default is used"},
        {"N { width: 1; --accent: 1 } #n { width: var(--acent) }",
         "1:34: width: there is no variable '--acent' (did you mean '--accent'?); the default is used"},
        {"N { width: 1 } #n { --v:; width: var(--v) }",
         "1:27: width: expected a value, got '' with --v (test.css:1:21); the default is used"},
        {"N { width: 1 } #n { --v: var(--v); width: var(--v) }",
         "1:36: width: the variable '--v' (test.css:1:21) is invalid: it depends on itself; the default is used"},
        {"N { width: 1 } #n { --v: {}; width: var(--v) }",
         "1:30: width: unexpected '{', got '{}' with --v (test.css:1:21); the default is used"},
        {"N { width: 1 } #n { width: var(--none, red) }", "1:21: width: expected a number, got 'red'; the default is used"},
    };
    for (const Row& row : rows) {
        INFO(std::string(row.css));
        StyleFixture fixture;
        auto& node = fixture.add("", "N", "n");
        expectWarning(std::string("StyleEngine # test.css:") + row.warning);
        fixture.sheet(row.css);
        CHECK_FALSE(node.width.hasValue(Facet::kStyleLayer));
        node.updateStyle(); // and no second warning
    }
}

TEST_CASE("node styler: a stronger rule that needs no variable hides one that is wrong")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n", "a");
    fixture.sheet("N { width: var(--none) } .a { width: 2 }");
    CHECK(node.width == 2.f);
    expectWarning("StyleEngine # test.css:1:5: width: there is no variable '--none'; the default is used");
    node.removeCSSClass("a");
    CHECK(node.width == 0.f);
}

TEST_CASE("node styler: what may not stand in a definition costs the declaration")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    expectWarning("StyleEngine # test.css:1:16: width: expected the name of a variable, such as '--name', in 'var()'; the "
                  "declaration is skipped");
    expectWarning("StyleEngine # test.css:1:25: --v: unexpected ')'; the declaration is skipped");
    expectWarning("StyleEngine # test.css:1:28: --: expected a value; the declaration is skipped");
    fixture.sheet("N { width: var(v); --v: ); --:; height: 2 }");
    CHECK(node.height == 2.f);
}

TEST_CASE("node styler: a variable that changes on a root of 1000 nodes restyles its users and nothing else")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    for (int panel = 0; panel < 10; ++panel) {
        const std::string panelId = "p" + std::to_string(panel);
        fixture.add("root", "Panel", panelId.c_str());
        for (int i = 0; i < 99; ++i)
            fixture.add(panelId.c_str(), i == 5 ? "User" : "N", (panelId + "-" + std::to_string(i)).c_str());
    }
    fixture.sheet(
        "Root { --a: 1; --b: 1 } .other { --a: 2 } .second { --b: 2 } .same { --a: 1 } #p3 { --a: 7 } #p4 { --c: var(--a) }"
        "User { width: var(--a) } N { height: var(--b) } #p4-0 { width: var(--c) } #p5-0 { width: var(--none, var(--a)) }");
    CHECK(fixture["p0-5"].width == 1.f);
    CHECK(fixture["p3-5"].width == 7.f);
    CHECK(restyledBy([&] { root.addCSSClass("same"); }) == 1 + 9 + 1); // messages name another place
    root.removeCSSClass("same");
    CHECK(restyledBy([&] { root.addCSSClass("other"); }) == 1 + 9 + 2); // itself, users but that of p3, two by detours
    CHECK(fixture["p0-5"].width == 2.f);
    CHECK(fixture["p3-5"].width == 7.f);
    CHECK(fixture["p4-0"].width == 2.f);
    CHECK(fixture["p5-0"].width == 2.f);
    CHECK(restyledBy([&] { root.addCSSClass("second"); }) == 1 + 980);
    CHECK(restyledBy([&] { root.addCSSClass("nothing"); }) == 0);
}

TEST_CASE("node styler: a variable that a listener changes is in force when the change returns")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    auto& first = fixture.add("root", "N", "a");
    auto& second = fixture.add("root", "N", "b");
    fixture.sheet("Root { --v: 1 } .x { --v: 2 } .y { --v: 3 } N { width: var(--v) }");
    float read = 0.f;
    first.width.addListener([&] {
        if (root.hasCSSClass("y"))
            return;
        root.addCSSClass("y");
        read = second.width;
    });
    root.addCSSClass("x");
    CHECK(read == 3.f);
    CHECK(first.width == 3.f);
    CHECK(second.width == 3.f);
}

TEST_CASE("node styler: files in a value with variables are those beside the style sheet, and tools see what is written")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.engine.addStyleSheet(QStringLiteral("N { --file: url(a.png); text: var( --file ) }"), QStringLiteral("test.css"),
                                 QStringLiteral("/sheets"));
    CHECK(node.text == QStringLiteral("/sheets/a.png"));
    const auto declarations = fixture.engine.matchedDeclarations(node);
    REQUIRE(declarations.size() == 2);
    CHECK(declarations[0].attribute == "--file");
    CHECK(declarations[0].value == QStringLiteral("url(a.png)"));
    CHECK(declarations[1].value == QStringLiteral("var( --file )"));
}

TEST_CASE("node styler: variables in a shorthand, and a mistake in them is reported once")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    Facet::AttributeT<float> borderWidth(&node, "border-width");
    Facet::AttributeT<Bedrock::Color> borderColor(&node, "border-color");
    fixture.sheet("N { --edge: 3px solid; border: var(--edge) lime }");
    CHECK(borderWidth == 3.f);
    CHECK(borderColor->toString() == QStringLiteral("#00FF00"));
    expectWarning(
        "StyleEngine # test.css:1:16: border: expected a width, 'solid' and a colour, or none, got '3px solid lime red' "
        "with --edge (test.css:1:5), --x (test.css:1:5); the default is used");
    fixture.sheet("N { --x: red;  border: var(--edge) lime var(--x) }");
    CHECK(borderWidth == 0.f);
    CHECK_FALSE(borderColor.hasValue(Facet::kStyleLayer));
}

TEST_CASE("node styler: what a shorthand resets is not made for it, nor missed, and is reset where it is there")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    Facet::AttributeT<float> borderWidth(&node, "border-width");
    Facet::AttributeT<float> leftWidth(&node, "border-left-width", 1.f);
    fixture.sheet("N { border-left-width: 7px } N { border: 3px solid; }");
    CHECK(borderWidth == 3.f);
    CHECK(leftWidth == 1.f);
    fixture.sheet("N { border-left: 5px solid } N { --edge: 4px; border-width: var(--edge) } #n { border-left-width: 6px }");
    CHECK(borderWidth == 4.f);
    CHECK(leftWidth == 6.f);
    Facet::AttributeT<float> topWidth(&node, "border-top-width");
    Facet::AttributeT<float> rightWidth(&node, "border-right-width");
    Facet::AttributeT<float> bottomWidth(&node, "border-bottom-width");
    fixture.sheet("#n { border-width: 1px 2px var(--edge) 9px }");
    CHECK(leftWidth == 9.f);
    CHECK(bottomWidth == 4.f);
    fixture.engine.clearStyleSheets();
    CHECK(bottomWidth == 0.f);
}

TEST_CASE("node styler: a value with variables is that of each node, in whatever order they are styled")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    auto& a = fixture.add("root", "N", "a");
    auto& b = fixture.add("root", "N", "b", "other");
    auto& c = fixture.add("root", "N", "c", "large");
    fixture.sheet("Root { --w: 1px } .other { --w: 2px } .large { font-size: 20px }"
                  "N { width: var(--w); height: calc(var(--w) + 1em) }");
    const auto widths = [&] {
        return std::to_string(int(a.width)) + std::to_string(int(b.width)) + std::to_string(int(c.width));
    };
    const auto heights = [&] {
        return std::to_string(int(a.height)) + " " + std::to_string(int(b.height)) + " " + std::to_string(int(c.height));
    };
    CHECK(widths() == "121");
    CHECK(heights() == "17 18 21");
    a.addCSSClass("other");
    CHECK(widths() == "221");
    b.removeCSSClass("other");
    c.removeCSSClass("large");
    CHECK(widths() == "211");
    CHECK(heights() == "18 17 17");
    a.resetChanges();
    fixture["root"].updateStyle(); // nothing is written anew
    CHECK(widths() == "211");
    CHECK(a.resetChanges() == 0);
    fixture.sheet("Root { --w: 5px }");
    CHECK(widths() == "255");
    a.removeCSSClass("other");
    CHECK(widths() == "555");
    fixture.engine.clearStyleSheets();
    CHECK(widths() == "000");
}
