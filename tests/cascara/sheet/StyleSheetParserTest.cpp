#include "LogCapture.hpp"
#include "TestNode.hpp"

#include <doctest/doctest.h>

#include <vector>

using CascaraTest::StyleFixture;
using TestSupport::expectWarning;

TEST_CASE("parser: a mistake costs one declaration, and the others of the rule hold")
{
    struct Row
    {
        const char* declarations;
        const char* warning; ///< after "StyleEngine # test.css:"
    };
    const Row rows[] = {
        {"width: 1; text; height: 2", "1:15: text: expected ':' after the attribute name; the declaration is skipped"},
        {"width: 1; text: ; height: 2", "1:15: text: expected a value; the declaration is skipped"},
        {"width: 1; 5: 6; height: 2", "1:15: expected an attribute name, got '5'; the declaration is skipped"},
        {"width: 1; text: a = b; height: 2", "1:23: text: unexpected '='; the declaration is skipped"},
        {"width: 1; text: {a; b}; height: 2", "1:21: text: unexpected '{'; the declaration is skipped"},
        {"width: 1; text: [a; b]; height: 2", "1:21: text: unexpected '['; the declaration is skipped"},
        {"width: 1; text: f(a; b); height: 2", "1:24: text: unexpected ';'; the declaration is skipped"},
        {"width: 1; text: a); height: 2", "1:22: text: unexpected ')'; the declaration is skipped"},
        {"width: 1; text: \"a\n; height: 2", "1:21: text: the text is not closed on its line; the declaration is skipped"},
        {"width: 1; text: url(a b); height: 2",
         "1:21: text: the url() is malformed: put its address in quotes; the declaration is skipped"},
        {"width: 1; text: url(\"a\" b); height: 2",
         "1:21: text: the url() is malformed: expected one quoted text; the declaration is skipped"},
        {"width: 1; text: !important; height: 2", "1:15: text: expected a value; the declaration is skipped"},
        {"width: 1; text: a !imp; height: 2", "1:23: text: unexpected '!'; the declaration is skipped"},
        {"width: 1; .x { a: b } text: c; height: 2", "1:15: expected an attribute name, got '.'; the declaration is skipped"},
        {"width: 1; @media x; height: 2", "1:15: @media is not supported; it is skipped"},
        {"width: 1; @nest & { a: b } height: 2", "1:15: @nest is not supported; it is skipped"},
        {"width: 1; text: abc def; height: 2", "1:15: text: expected a quoted text, got 'abc def'; the declaration is skipped"},
        {"width: 1; width: abc; height: 2", "1:15: width: expected a number, got 'abc'; the declaration is skipped"},
        {"width: 1; widht: 7; height: 2",
         "1:15: widht: no attribute has this name (did you mean 'width'?); the declaration is skipped"},
    };
    for (const Row& row : rows) {
        INFO(row.declarations);
        StyleFixture fixture;
        auto& node = fixture.add("", "N", "n");
        expectWarning(std::string("StyleEngine # test.css:") + row.warning);
        fixture.sheet(("N { " + std::string(row.declarations) + " }").c_str());
        CHECK(node.width == 1.f);
        CHECK(node.height == 2.f);
        CHECK_FALSE(node.text.hasValue(Facet::kStyleLayer));
    }
}

TEST_CASE("parser: a mistake in a selector costs the rule, and the rules around it hold")
{
    struct Row
    {
        const char* rule;
        const char* warning;
    };
    const Row rows[] = {
        {"N + + N { text: a }", "2:5: expected a selector, got '+'"},
        {"N ~ { text: a }", "2:4: expected a selector"},
        {"N, M > { text: a }", "2:7: expected a selector"},
        {"N, , M { text: a }", "2:4: expected a selector"},
        {", N { text: a }", "2:1: expected a selector"},
        {"{ text: a }", "2:1: expected a selector"},
        {"N[x=5] { text: a }", "2:5: expected a name or a text in quotes after '='"},
        {"[] { text: a }", "2:2: expected an attribute name after '['"},
        {"N::before { text: a }", "2:3: pseudo-elements are not supported"},
        {"N:nth-child(2n+x) { text: a }", "2:13: expected 'odd', 'even', a number or a form like '2n+1' in ':nth-child()'"},
        {"N:nth-of-type(2n+1) { text: a }", "2:3: the pseudo-class ':nth-of-type()' is not supported"},
        {"N: { text: a }", "2:3: expected a pseudo-class name after ':'"},
        {"N. x { text: a }", "2:3: expected a class name after '.'"},
        {"N.5 { text: a }", "2:2: unexpected '.5' in a selector"},
        {"N#5 { text: a }", "2:2: '#5' is no id: an id does not begin with a digit"},
        {"N:not(M, 5) { text: a }", "2:10: expected a selector, got '5'"},
        {"N:not() { text: a }", "2:7: expected a selector"},
        {"N 5 { text: a }", "2:3: unexpected '5' in a selector"},
        {"} N { text: a }", "2:1: expected a selector, got '}'"},
        {"N, M! { text: { a: ; } }", "2:5: unexpected '!' in a selector"},
    };
    for (const Row& row : rows) {
        INFO(row.rule);
        StyleFixture fixture;
        auto& node = fixture.add("", "N", "n");
        expectWarning(std::string("StyleEngine # test.css:") + row.warning + "; the rule is skipped");
        fixture.sheet(("N { width: 1 }\n" + std::string(row.rule) + "\nN { height: 2 }").c_str());
        CHECK(node.width == 1.f);
        CHECK(node.height == 2.f);
        CHECK_FALSE(node.text.hasValue(Facet::kStyleLayer));
    }
}

TEST_CASE("parser: a mistake in the list of :is() costs that selector of the list")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    expectWarning("StyleEngine # test.css:1:5: expected a selector, got '5'; it is left out of ':is()'");
    fixture.sheet(":is(5, N) { width: 1 }");
    CHECK(node.width == 1.f);
}

TEST_CASE("parser: an unknown at-rule is skipped whole, with one warning")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    expectWarning("StyleEngine # test.css:2:1: @supports is not supported; it is skipped");
    expectWarning("StyleEngine # test.css:3:1: @page is not supported; it is skipped");
    expectWarning("StyleEngine # test.css:4:3: @counter-style is not supported; it is skipped");
    fixture.sheet("@charset \"utf-8\";\n"
                  "@supports (x) { N { text: no } N { text: no } }\n"
                  "@page;\n"
                  "  @counter-style x { text: no }N { width: 1 }");
    CHECK(node.width == 1.f);
    CHECK_FALSE(node.text.hasValue(Facet::kStyleLayer));
}

TEST_CASE("parser: a file that ends too early keeps what it says so far")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    SUBCASE("within a block")
    {
        expectWarning("StyleEngine # test.css:2:3: the block is not closed; it ends with the file");
        fixture.sheet("M { height: 1 }\nN { width: 1");
        CHECK(node.width == 1.f);
    }
    SUBCASE("within a function")
    {
        expectWarning("StyleEngine # test.css:1:3: the block is not closed; it ends with the file");
        fixture.sheet("N { color: rgb(255, 0, 0");
        CHECK(node.color.value() == Bedrock::Color{1.f, 0.f, 0.f, 1.f});
    }
    SUBCASE("before a block")
    {
        expectWarning("StyleEngine # test.css:2:1: expected '{' after 'N .big'; the rule is skipped");
        fixture.sheet("N { width: 1 }\nN .big ");
        CHECK(node.width == 1.f);
    }
}

TEST_CASE("parser: empty sheets and rules are no mistakes")
{
    StyleFixture fixture;
    fixture.sheet("");
    fixture.sheet(" \n\t/* nothing */ ");
    fixture.sheet("N {} N{;} N { ; ; }");
}

TEST_CASE("parser: places count lines by any line end, and columns from one")
{
    StyleFixture fixture;
    fixture.add("", "N", "n");
    expectWarning("StyleEngine # test.css:5:3: a: expected ':' after the attribute name; the declaration is skipped");
    fixture.sheet("N {\r\n\r/* two\nlines */\n  a }");
}

TEST_CASE("parser: a value may hold functions, lists and slashes")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    fixture.sheet("N { color: rgba(255,0,0,50%); list: a,b , \"c d\" }");
    CHECK(node.color.value() == Bedrock::Color{1.f, 0.f, 0.f, 0.5f});
    CHECK(node.list.value() == QStringList{"a", "b", "c d"});
    const auto declarations = fixture.engine.matchedDeclarations(node);
    REQUIRE(declarations.size() == 2);
    CHECK(declarations[0].value == QStringLiteral("rgba(255, 0, 0, 50%)"));
}

TEST_CASE("parser: functions and conditions in one another without end cost one declaration or rule")
{
    const auto nested = [](const char* opening, int times, const char* core, char closing) {
        return QByteArray(opening).repeated(times) + core + QByteArray(times, closing);
    };
    StyleFixture fixture;
    auto& node = fixture.add("", "N", "n");
    expectWarning("StyleEngine # test.css:1:" + std::to_string(11 + 2 * 32)
                  + ": text: functions are nested too deeply: at most 32; the declaration is skipped");
    fixture.sheet("N { text: " + nested("f(", 100000, "", ')') + "; width: 1 }");
    CHECK(node.width == 1.f);
    expectWarning("StyleEngine # test.css:1:" + std::to_string(2 + 5 * 32 + 1)
                  + ": :not() is nested too deeply: at most 32; the rule is skipped");
    fixture.sheet("N" + nested(":not(", 100000, "*", ')') + " { width: 2 } N { height: 3 }");
    CHECK(node.width == 1.f);
    CHECK(node.height == 3.f);
    fixture.sheet("N" + nested(":not(", 32, "N", ')') + " { width: 4 }");
    CHECK(node.width == 4.f);
}

TEST_CASE("parser: an unquoted run of numbers reaches a text attribute as it is written")
{
    struct Row
    {
        const char* value;
        const char* text;
    };
    const Row rows[] = {
        {"10", "10"},
        {"10,20-25", "10,20-25"},
        {"10 , 20 - 25", "10 , 20 - 25"},
        {"-1-2", "-1-2"},
        {"1--2", "1--2"},
        {"1-2-", "1-2-"},
        {"007", "007"},
        {"9007199254740993", "9007199254740993"},
        {"10 /* ten */,20", "10 ,20"},
        {"10-20 !important", "10-20"},
    };
    for (const Row& row : rows) {
        INFO(row.value);
        StyleFixture fixture;
        auto& node = fixture.add("", "N", "n");
        fixture.sheet(("N { text: " + std::string(row.value) + "; width: 1 }").c_str());
        CHECK(node.text.value() == QString::fromUtf8(row.text));
        CHECK(node.width == 1.f);
    }
}

TEST_CASE("style sheet parser: a shorthand is a declaration of each attribute, and its mistake costs one")
{
    StyleFixture fixture;
    auto& node = fixture.add("", "A", "a");
    Facet::AttributeT<float> borderWidth(&node, "border-width");
    Facet::AttributeT<Bedrock::Color> borderColor(&node, "border-color");
    expectWarning("StyleEngine # test.css:1:35: border: expected a width, 'solid' and a colour, or none, got '1px 2px'; the "
                  "declaration is skipped");
    fixture.sheet("A { border: 2px solid red; border: 1px 2px; font: italic 12px x; width: 1 }");
    CHECK(node.width == 1.f);
    CHECK(borderWidth == 2.f);
    CHECK(node.fontSize == 12.f);
    std::string written;
    for (const auto& declaration : fixture.engine.matchedDeclarations(node))
        written += (declaration.attribute + ':').toStdString() + declaration.value.toStdString() + ' ';
    CHECK(written == "border-width:2px border-color:red font-style:italic font-size:12px font-family:x width:1 ");
}
