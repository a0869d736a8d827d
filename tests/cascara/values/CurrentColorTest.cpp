#include "values/CurrentColor.hpp"

#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

using CascaraTest::restyledBy;
using CascaraTest::StyleFixture;
using Facet::StyleTerm;
using Facet::StyleValue;
using Kind = Facet::StyleTerm::Kind;

TEST_CASE("current color: the word counts in attributes that hold colours, and in no text")
{
    const StyleValue word{{{Kind::Ident, QStringLiteral("currentColor"), 0.0, {}}}};
    for (const char* attribute : {"background-color", "border-top-color", "box-shadow", "background-image", "cross-color"})
        CHECK(Cascara::usesCurrentColor(attribute, word));
    for (const char* attribute : {"text", "font-family", "color"})
        CHECK_FALSE(Cascara::usesCurrentColor(attribute, word));
    CHECK_FALSE(Cascara::usesCurrentColor("background-color", {{{Kind::String, QStringLiteral("currentcolor"), 0.0, {}}}}));
    CHECK(Cascara::wideKeywordOf("color", word) == Cascara::WideKeyword::Inherit);
    CHECK(Cascara::wideKeywordOf("caret-color", word) == Cascara::WideKeyword::None);
}

TEST_CASE("current color: one term takes its place, also among others and in functions")
{
    StyleValue value{{{Kind::Function, QStringLiteral("linear-gradient"), 3.0, {}},
                      {Kind::Ident, QStringLiteral("currentcolor"), 0.0, {}},
                      {Kind::Delimiter, QStringLiteral(","), 0.0, {}},
                      {Kind::Ident, QStringLiteral("red"), 0.0, {}}}};
    Cascara::resolveCurrentColor(value, {0.f, 1.f, 0.f, 0.f});
    CHECK(value.toString() == QStringLiteral("linear-gradient(#00FF0000, red)"));
}

TEST_CASE("current color: another colour restyles the nodes that use it, and no others")
{
    StyleFixture fixture;
    fixture.add("", "Root", "root");
    auto& panel = fixture.add("root", "Panel", "p");
    auto& own = fixture.add("p", "N", "own");
    auto& user = fixture.add("p", "M", "user");
    fixture.sheet("N { color: blue; background-color: currentcolor } M { background-color: currentcolor }"
                  " .lime { color: lime }");
    CHECK(own.backgroundColor->toString() == QStringLiteral("#0000FF"));
    CHECK(user.backgroundColor->toString() == QStringLiteral("#000000"));
    // The panel, and the child that has its colour.
    CHECK(restyledBy([&] { panel.addCSSClass("lime"); }) == 2);
    CHECK(own.backgroundColor->toString() == QStringLiteral("#0000FF"));
    CHECK(user.backgroundColor->toString() == QStringLiteral("#00FF00"));
    panel.removeCSSClass("lime");
    CHECK(user.backgroundColor->toString() == QStringLiteral("#000000"));
}

TEST_CASE("current color: a node with a colour of its own has that, and what the code shows in its place does not count")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    node.color.setValue({1.f, 0.f, 0.f, 1.f}, Facet::kDefaultLayer);
    fixture.sheet("N { background-color: currentcolor }");
    CHECK(node.backgroundColor->toString() == QStringLiteral("#FF0000"));
    fixture.sheet("N { color: lime }");
    node.color = Bedrock::Color{0.f, 0.f, 1.f, 1.f};
    CHECK(node.backgroundColor->toString() == QStringLiteral("#00FF00"));
}
