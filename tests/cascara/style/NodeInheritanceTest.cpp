#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

#include <string>

using CascaraTest::BareNode;
using CascaraTest::restyledBy;
using CascaraTest::StyleFixture;
using CascaraTest::TestNode;
using TestSupport::expectWarning;

TEST_CASE("node inheritance: which value an attribute has that children inherit")
{
    struct Row
    {
        const char* css;
        float fontSize; ///< of #n in .panel in Root; 16 is its default
    };
    const Row rows[] = {
        {"Root { font-size: 20 }", 20},
        {"Root { font-size: 20 } .panel { font-size: 30 }", 30},
        {"Root { font-size: 20 } .panel { font-size: 30 } N { font-size: 40 }", 40},
        {"Root { font-size: 20 } .panel { font-size: inherit }", 20},
        {"Root { font-size: 20 } .panel { font-size: unset }", 20},
        {"Root { font-size: 20 } .panel { font-size: initial }", 16},
        {"Root { font-size: 20 } N { font-size: initial }", 16},
        {"Root { font-size: 20 } .panel { font-size: initial } N { font-size: inherit }", 16},
        {"Root { font-size: 20 } N { font-size: 30 } #n { font-size: INHERIT }", 20},
        {"Root { font-size: 20 } N { font-size: inherit !important } #n { font-size: 30 }", 20},
        {"Root { --s: 21; font-size: var(--s) } .panel { --s: 31 }", 21},
        {"Root { font-size: 20 } N { font-size: var(--none, inherit) }", 20},
        {"Root { font-size: 20 } N { font-size: var(--none, initial) }", 16},
        {"Root { font-size: 20; font-size: 21 } ", 21},
        {"Root { width: 5 }", 16},
    };
    for (const Row& row : rows) {
        INFO(std::string(row.css));
        StyleFixture fixture;
        fixture.add("", "Root", "root");
        fixture.add("root", "Panel", "p", "panel");
        auto& node = fixture.add("p", "N", "n");
        fixture.sheet(row.css);
        CHECK(node.fontSize == row.fontSize);
        CHECK(node.width == 0.f);
        fixture.engine.clearStyleSheets();
        CHECK(node.fontSize == 16.f);
        CHECK_FALSE(node.fontSize.hasValue(Facet::kStyleLayer));
    }
}

TEST_CASE("node inheritance: it goes through nodes that do not have the attribute")
{
    StyleFixture fixture;
    TestNode inside("N");
    BareNode panel("Panel");
    inside.setStyleParent(&panel);
    fixture.sheet("Panel { font-size: 20; color: lime } Panel.big { font-size: 30 }");
    CHECK(inside.fontSize == 20.f);
    CHECK(inside.color->toString() == QStringLiteral("#00FF00"));
    panel.addCSSClass("big");
    CHECK(inside.fontSize == 30.f);
    panel.removeCSSClass("big");
    inside.setStyleParent(nullptr);
    CHECK(inside.fontSize == 16.f);
}

TEST_CASE("node inheritance: a value that does not fit leaves the weaker rule in force, also where the node lacks the attribute")
{
    StyleFixture fixture;
    TestNode inside("N");
    BareNode panel("Panel");
    inside.setStyleParent(&panel);
    expectWarning("StyleEngine # test.css:2:9: font-size: expected a number, got 'red'; the declaration is skipped");
    fixture.sheet("Panel { font-size: 20 }\nPanel { font-size: red }");
    CHECK(inside.fontSize == 20.f);
    expectWarning("StyleEngine # test.css:1:5: font-size: expected a number, got 'red' with --s (test.css:1:31); the inherited "
                  "value is used");
    fixture.sheet("N { font-size: var(--s) } N { --s: red }");
    CHECK(inside.fontSize == 20.f);
}

TEST_CASE("node inheritance: what the code sets on a parent is not inherited")
{
    StyleFixture fixture;
    auto& parent = fixture.add("", "Root", "root");
    auto& node = fixture.add("root", "N", "n");
    parent.fontSize = 50.f;
    CHECK(node.fontSize == 16.f);
    fixture.sheet("Root { font-size: 20; width: 4 } N { width: inherit }");
    CHECK(parent.fontSize == 50.f);
    CHECK(node.fontSize == 20.f);
    parent.width = 9.f;
    CHECK(node.width == 4.f);
    node.fontSize = 60.f;
    CHECK(node.fontSize == 60.f);
}

TEST_CASE("node inheritance: the words for every attribute, on one that is not inherited")
{
    struct Row
    {
        const char* css;
        float width; ///< of #n in Root
    };
    const Row rows[] = {
        {"Root { width: 5 } N { width: inherit }", 5},
        {"Root { width: 5 } N { width: initial }", 0},
        {"Root { width: 5 } N { width: unset }", 0},
        {"Root { height: 5 } N { width: inherit }", 0},
        {"N { width: 5 } #n { width: initial }", 0},
        {"N { width: 5 } #n { width: Unset }", 0},
        {"Root { --w: 7; width: var(--w) } N { width: inherit }", 7},
        {"Root { width: 5 } N { width: var(--none, inherit) }", 5},
    };
    for (const Row& row : rows) {
        INFO(std::string(row.css));
        StyleFixture fixture;
        fixture.add("", "Root", "root");
        auto& node = fixture.add("root", "N", "n");
        fixture.sheet(row.css);
        CHECK(node.width == row.width);
    }
}

TEST_CASE("node inheritance: text and words in quotes are no keyword, and text is inherited by word")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    auto& node = fixture.add("root", "N", "n");
    fixture.sheet("Root { text: \"inherit\"; list: a, \"b c\" } N { text: inherit; list: inherit }");
    CHECK(root.text == QStringLiteral("inherit"));
    CHECK(node.text == QStringLiteral("inherit"));
    CHECK(node.list.value() == QStringList{"a", "b c"});
}

TEST_CASE("node inheritance: a change of the parent's value reaches those that take it by word, and only those")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    auto& first = fixture.add("root", "N", "a", "taker");
    fixture.add("root", "N", "b");
    auto& below = fixture.add("a", "N", "c", "taker");
    fixture.sheet("Root { width: 5 } Root.wide { width: 6 } .taker { width: inherit }");
    CHECK(below.width == 5.f);
    CHECK(restyledBy([&] { root.addCSSClass("wide"); }) == 3);
    CHECK(first.width == 6.f);
    CHECK(below.width == 6.f);
    root.removeCSSClass("wide");
    CHECK(below.width == 5.f);
    first.removeCSSClass("taker");
    CHECK(below.width == 0.f);
}

TEST_CASE("node inheritance: a change on a root of 1000 nodes restyles those that have the attribute and nothing of their own")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    std::vector<std::unique_ptr<BareNode>> panels;
    std::vector<std::unique_ptr<TestNode>> texts;
    for (int i = 0; i < 500; ++i) {
        panels.push_back(std::make_unique<BareNode>("Panel"));
        texts.push_back(std::make_unique<TestNode>("N"));
        texts.back()->setStyleParent(panels.back().get());
        panels.back()->setStyleParent(&root);
        if (i < 100)
            texts.back()->addCSSClass("own");
    }
    fixture.sheet("Root { font-size: 20 } Root.other { font-size: 21 } Root.same { width: 1 } .own { font-size: 30 }");
    CHECK(restyledBy([&] { root.addCSSClass("other"); }) == 1 + 400);
    CHECK(texts.back()->fontSize == 21.f);
    CHECK(texts.front()->fontSize == 30.f);
    CHECK(restyledBy([&] { root.addCSSClass("same"); }) == 1);
    for (auto& text : texts)
        text->setStyleParent(nullptr);
    CHECK(texts.back()->fontSize == 16.f);
}

TEST_CASE("node inheritance: an attribute made after its node was styled inherits when styles are finished")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    fixture.sheet("Root { letter-spacing: 3 }");
    TestNode node(root, "N");
    Facet::AttributeT<float> spacing(&node, "letter-spacing");
    fixture.engine.finishStyling();
    CHECK(spacing == 3.f);
    node.setStyleParent(nullptr);
    CHECK(spacing == 0.f);
}

TEST_CASE("node inheritance: a listener that changes what is inherited leaves everything up to date")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    auto& first = fixture.add("root", "N", "a");
    auto& second = fixture.add("root", "N", "b");
    fixture.sheet("Root { font-size: 1 } .x { font-size: 2 } .y { font-size: 3 }");
    first.fontSize.addListener([&] { root.addCSSClass("y"); });
    root.addCSSClass("x");
    CHECK(first.fontSize == 3.f);
    CHECK(second.fontSize == 3.f);
}

TEST_CASE("node inheritance: em is the font size in force, for font-size that of the parent")
{
    struct Row
    {
        const char* css;
        float fontSize; ///< of #n in Root
        float width;
    };
    const Row rows[] = {
        {"N { width: 2em }", 16, 32},
        {"Root { font-size: 20 } N { width: 2em }", 20, 40},
        {"Root { font-size: 20px } N { font-size: 1.5em; width: 2em }", 30, 60},
        {"Root { font-size: 20px } N { font-size: 150%; width: calc(1em + 1px) }", 30, 31},
        {"Root { font-size: 2em } N { width: 1em }", 32, 32},
        {"Root { --w: 2em; font-size: 20px } N { width: var(--w); font-size: 10px }", 10, 20},
        {"Root { font-size: 10px } N { font-size: calc(1em + 2px) } N { --x: 3; width: calc(var(--x) * 1em) }", 12, 36},
        {"Root { font-size: 20px } N { font-size: initial; width: 1em }", 16, 16},
    };
    for (const Row& row : rows) {
        INFO(std::string(row.css));
        StyleFixture fixture;
        fixture.add("", "Root", "root");
        auto& node = fixture.add("root", "N", "n");
        fixture.sheet(row.css);
        CHECK(node.fontSize == row.fontSize);
        CHECK(node.width == row.width);
    }
}

TEST_CASE("node inheritance: what depends on the font size follows it, and what does not is left alone")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    auto& middle = fixture.add("root", "Middle", "m");
    auto& node = fixture.add("m", "N", "n");
    BareNode bare("Bare");
    bare.setStyleParent(&root);
    fixture.sheet("Root { font-size: 10px } Root.big { font-size: 20px } Middle { font-size: 2em } N { width: 1em }");
    CHECK(node.width == 20.f);
    CHECK(restyledBy([&] { root.addCSSClass("big"); }) == 3);
    CHECK(middle.fontSize == 40.f);
    CHECK(node.fontSize == 40.f);
    CHECK(node.width == 40.f);
    root.removeCSSClass("big");
    CHECK(node.width == 20.f);
}

TEST_CASE("node inheritance: a node is not restyled for what it depended on before")
{
    struct Row
    {
        const char* uses;    ///< what the class "user" says
        const char* changed; ///< of the root
    };
    const Row rows[] = {
        {"width: var(--step)", "--step: 7px"},
        {"width: 2em", "font-size: 21px"},
        {"background-color: currentcolor", "color: lime"},
        {"width: inherit", "width: 7px"},
    };
    for (const Row& row : rows) {
        INFO(std::string(row.changed));
        StyleFixture fixture;
        auto& root = fixture.add("", "Root", "root");
        BareNode node("N"); // without the attributes that are inherited
        Facet::AttributeT<float> width(&node, "width");
        Facet::AttributeT<Bedrock::Color> background(&node, "background-color");
        node.setStyleParent(&root);
        node.addCSSClass("user");
        fixture.sheet((std::string("Root { --step: 5px; font-size: 20px; color: red; width: 5px } Root.other { ") + row.changed
                       + "} .user { " + row.uses + " }")
                          .c_str());
        CHECK(restyledBy([&] { root.addCSSClass("other"); }) == 1 + 1);
        node.removeCSSClass("user");
        CHECK_FALSE((width.hasValue(Facet::kStyleLayer) || background.hasValue(Facet::kStyleLayer)));
        CHECK(restyledBy([&] { root.removeCSSClass("other"); }) == 1);
    }
}

TEST_CASE("node inheritance: a node that no longer defines what its parent defines as well follows the parent")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root", "wide");
    auto& node = fixture.add("root", "N", "n");
    fixture.sheet(".wide { --step: 5px; font-size: 20px } N { width: var(--step, 1px) }");
    node.addCSSClass("wide");
    node.removeCSSClass("wide");
    root.removeCSSClass("wide");
    CHECK(node.width == 1.f);
    CHECK(node.fontSize == 16.f);
}

TEST_CASE("node inheritance: an em that the parent hands down is that of the parent")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    TestNode node("N");
    Facet::AttributeT<float> spacing(&node, "letter-spacing");
    node.setStyleParent(&fixture["root"]);
    fixture.sheet("Root { font-size: 10px; letter-spacing: 0.5em } N { font-size: 40px }");
    CHECK(spacing == 5.f);
    node.setStyleParent(nullptr);
}
