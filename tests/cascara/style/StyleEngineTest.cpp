#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

using CascaraTest::restyledBy;
using CascaraTest::StyleFixture;
using CascaraTest::TestNode;
using Facet::kStyleLayer;
using TestSupport::expectWarning;

TEST_CASE("style engine: a declaration writes layer 1, which run time values cover")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    node.width = 5.f;
    fixture.sheet("N { width: 1 }");
    CHECK(node.width == 5.f);
    CHECK(node.width.value(kStyleLayer) == 1.f);
    node.width.clearValue(Facet::kUserLayer);
    CHECK(node.width == 1.f);
}

TEST_CASE("style engine: a variable that no sheet has is reported when all sheets are there, also where nothing matches")
{
    StyleFixture fixture;
    fixture.sheet(".never { width: var(--mine); height: var(--wdth) } .never { width: var(--none, 1px); --own: var(--none) }");
    fixture.sheet("N { --mine: 3; --width: 4 } .other { width: var(--x, var(--none)) }");
    expectWarning(
        "StyleEngine # test.css:1:30: height: there is no variable '--wdth' (did you mean '--width'?); the default is used");
    fixture.engine.beginAnimations();
    fixture.engine.beginAnimations();
    fixture.add("", "N", "n", "never");
}

TEST_CASE("style engine: a rule that stops matching withdraws its values, down to the next rule or the default")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n", "a b");
    fixture.sheet("N { width: 1 } .a { width: 2; height: 2 } .b { width: 3 }");
    CHECK(node.width == 3.f);
    node.removeCSSClass("b");
    CHECK(node.width == 2.f);
    node.removeCSSClass("a");
    CHECK(node.width == 1.f);
    CHECK(node.height == 0.f);
    CHECK_FALSE(node.height.hasValue(kStyleLayer));
}

TEST_CASE("style engine: a class added later restyles descendants before the call returns")
{
    StyleFixture fixture;
    auto& root = fixture.add("", "Root", "root");
    auto& text = fixture.add("root", "Text", "text");
    fixture.sheet(".email-failed Text { text: \"It failed\" }");
    root.addCSSClass("email-failed");
    CHECK(text.text == QStringLiteral("It failed"));
    root.removeCSSClass("email-failed");
    CHECK(text.text == QString());
}

TEST_CASE("style engine: a value that does not fit is one warning per declaration, not per node")
{
    StyleFixture fixture;
    fixture.add("", "N", "a");
    fixture.add("", "N", "b");
    expectWarning("StyleEngine # test.css:2:3: width: expected a number, got 'abc'; the declaration is skipped");
    fixture.sheet("N {\n  width: abc; height: 2 }");
    fixture.add("", "N", "c");
    fixture["a"].updateStyle();
    CHECK(fixture["c"].height == 2.f);
}

TEST_CASE("style engine: an attribute that no node ever had is one warning, at the first match")
{
    StyleFixture fixture;
    fixture.sheet("N { heihgt: 2 }");
    expectWarning(
        "StyleEngine # test.css:1:5: heihgt: no attribute has this name (did you mean 'height'?); the declaration is skipped");
    fixture.add("", "N", "a");
    fixture.add("", "N", "b");
}

TEST_CASE("style engine: an attribute that this node lacks and another has is passed over in silence")
{
    struct Rich : TestNode
    {
        Rich() : TestNode("Rich") {}
        Facet::AttributeT<float> depth{this, "depth"};
    };
    StyleFixture fixture;
    Rich rich;
    auto& plain = fixture.add("", "N", "n");
    fixture.sheet("* { depth: 2; width: 1 }");
    CHECK(rich.depth == 2.f);
    CHECK(plain.width == 1.f);
}

TEST_CASE("style engine: an attribute that appears later gets its value at the next update")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    {
        Facet::AttributeT<float> known(nullptr, "late");
    }
    fixture.sheet("N { late: 3 }");
    Facet::AttributeT<float> late(&node, "late");
    node.updateStyle();
    CHECK(late == 3.f);
}

TEST_CASE("style engine: clearing the sheets withdraws all they set")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet("N { width: 1; text: a }");
    fixture.sheet("N { height: 1 }");
    fixture.engine.clearStyleSheets();
    CHECK_FALSE(node.width.hasValue(kStyleLayer));
    CHECK_FALSE(node.height.hasValue(kStyleLayer));
    CHECK_FALSE(node.text.hasValue(kStyleLayer));
    fixture.sheet("N { width: 2 }");
    CHECK(node.width == 2.f);
}

TEST_CASE("style engine: lists the declarations that match, the winning one last")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n", "a");
    fixture.sheet("#n { width: 1px }\nN { width: 2 !important }\nM, N.a, N { height: 3; width: 4 }");
    const auto found = fixture.engine.matchedDeclarations(node);
    REQUIRE(found.size() == 4);
    CHECK(found[0].attribute == "height");
    CHECK(found[0].selector == QStringLiteral("N.a"));
    CHECK(found[1].value == QStringLiteral("4"));
    CHECK(found[2].selector == QStringLiteral("#n"));
    CHECK(found[2].value == QStringLiteral("1px"));
    CHECK(found[3].attribute == "width");
    CHECK(found[3].value == QStringLiteral("2"));
    CHECK(found[3].sheet == QStringLiteral("test.css"));
    CHECK(found[3].line == 2);
    CHECK(found[3].column == 5);
    CHECK(node.width == 2.f);
}

TEST_CASE("style engine: rules in @media hold as long as their condition does")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    const auto before = fixture.engine.media();
    fixture.engine.setMedia({1000.f, 500.f, false});
    fixture.sheet("N { width: 1 } @media (min-width: 800px) { N { width: 2 } .wide { height: 2 } "
                  "@media (orientation: portrait) { N { width: 3 } } } @media (prefers-reduced-motion) { N { width: 4 } }");
    CHECK(node.width == 2.f);
    fixture.engine.setMedia({1000.f, 1500.f, false});
    CHECK(node.width == 3.f);
    CHECK(restyledBy([&] { node.addCSSClass("wide"); }) == 1);
    CHECK(node.height == 2.f);
    CHECK(restyledBy([&] { fixture.engine.setMedia({1000.f, 1600.f, false}); }) == 0);
    fixture.engine.setMedia({700.f, 1500.f, false});
    CHECK(node.width == 1.f);
    CHECK(node.height == 0.f);
    CHECK(restyledBy([&] { node.removeCSSClass("wide"); }) == 0); // a rule that is not in force reaches nothing
    fixture.engine.setMedia({700.f, 1500.f, true});
    CHECK(node.width == 4.f);
    fixture.engine.setMedia(before);
}

TEST_CASE("style engine: mistakes in and around @media cost the smallest piece")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    expectWarning("StyleEngine # test.css:1:9: there is no feature 'widht' (did you mean 'width'?); the condition does not hold");
    expectWarning("StyleEngine # test.css:2:14: width: expected a value; the declaration is skipped");
    expectWarning("StyleEngine # test.css:3:8: expected '{' after 'N'; the rule is skipped");
    expectWarning("StyleEngine # test.css:4:1: expected '{' after '@media'; it is skipped");
    expectWarning("StyleEngine # test.css:5:1: @medai is not supported (did you mean 'media'?); it is skipped");
    expectWarning("StyleEngine # test.css:6:8: the block is not closed; it ends with the file");
    fixture.sheet("@media (widht: 1px) { N { width: 9 } }\n@media { N { width: } N { height: 1 } }\n@media{N} N { list: a }\n"
                  "@media (width);\n@medai { N { height: 9 } }\n@media { N { width: 2 }");
    CHECK(node.width == 2.f);
    CHECK(node.height == 1.f);
    CHECK(node.list.value() == QStringList{"a"});
}

TEST_CASE("style engine: says where a sheet first names a file, relative or whole, with variables or without")
{
    StyleFixture fixture;
    fixture.engine.addStyleSheet(QStringLiteral("N { text: \"a.png\";\n text: url(a.png) }\n.m { --f: url('b.png') } .v { text: "
                                                "url(c.png) var(--w, 1) }"),
                                 QStringLiteral("first.css"), QStringLiteral("/media"));
    fixture.engine.addStyleSheet(QStringLiteral("N { text: url(\"/media/a.png\") } M { text: url(file:///media/d.png) }"),
                                 QStringLiteral("second.css"), QStringLiteral("/else"));
    const auto place = [&](const char* path) { return fixture.engine.placeOfFile(QString::fromLatin1(path)).toStdString(); };
    CHECK(place("/media/a.png") == "first.css:2:2");
    CHECK(place("/media/b.png") == "first.css:3:6");
    CHECK(place("/media/c.png") == "first.css:3:31");
    CHECK(place("/media/d.png") == "second.css:1:37");
    CHECK(place("/else/a.png").empty());
    fixture.engine.clearStyleSheets();
    CHECK(place("/media/a.png").empty());
}
