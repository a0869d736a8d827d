#include "selectors/SelectorParser.hpp"
#include "syntax/Tokenizer.hpp"

#include <doctest/doctest.h>

#include <Facet/NameTable.hpp>

#include <string>

using namespace Cascara;

namespace
{
std::string written(const Selector& selector);

std::string written(const Compound& compound)
{
    std::string text;
    for (const Feature& feature : compound.features) {
        const char* const marks[] = {"", "#", ".", ":", "attribute ", "position ", ":"};
        text += marks[int(feature.kind)] + Facet::NameTable::instance().name(feature.name).toStdString();
    }
    for (const AttributeTest& test : compound.attributes) {
        const char* const marks[] = {"", "=", "~=", "|=", "^=", "$=", "*="};
        text += "[" + Facet::NameTable::instance().name(test.name).toStdString() + marks[int(test.comparison)]
            + test.value.toStdString() + (test.caseSensitivity == Qt::CaseInsensitive ? " i]" : "]");
    }
    for (const PositionTest& test : compound.positions) {
        if (test.position == Feature::Count)
            text += ":nth(" + std::to_string(test.step) + "," + std::to_string(test.offset) + ")";
        else
            text += test.position == Feature::First ? ":first" : ":last";
    }
    for (const Alternatives& list : compound.alternatives) {
        text += list.isNegation ? ":not(" : ":is(";
        for (const Selector& inner : list.selectors)
            text += (&inner == &list.selectors.front() ? "" : ",") + written(inner);
        text += ")";
    }
    return text.empty() ? "*" : text;
}

std::string written(const Selector& selector)
{
    const char* const marks[] = {" << ", " < ", " + ", " ~ "};
    std::string text;
    for (std::size_t i = 0; i < selector.parts.size(); ++i)
        text += (i == 0 ? "" : marks[int(selector.parts[i - 1].toLeft)]) + written(selector.parts[i].compound);
    return text;
}

/// What the parser made of the selectors, from right to left, or its error in brackets.
std::string parsed(const char* css)
{
    const Tokens tokens = Tokenizer::run(QString::fromUtf8(css));
    SelectorParser parser(tokens, 0, int(tokens.list.size()) - 1);
    std::vector<Selector> selectors;
    if (!parser.parseList(selectors))
        return "[" + std::to_string(parser.error().column) + ": " + parser.error().text.toStdString() + "]";
    std::string text;
    for (const Selector& selector : selectors)
        text += (text.empty() ? "" : " | ") + written(selector);
    for (const StyleSheetError& error : parser.listErrors())
        text += " [" + std::to_string(error.column) + ": " + error.text.toStdString() + "]";
    return text;
}
}

TEST_CASE("selector parser: takes a list apart into compounds, from right to left")
{
    struct Row
    {
        const char* css;
        const char* expected;
    };
    const Row rows[] = {
        {"*", "*"},
        {"Button", "Button"},
        {"Button.big#send:hover", "Button.big#send:hover"},
        {"*.big", ".big"},
        {"A B", "B << A"},
        {"A > B", "B < A"},
        {"A>B C", "C << B < A"},
        {"A, .b", "A | .b"},
        {"A:not(.x, B.y) > *", "* < A:not(.x,B.y)"},
        {":not(:not(.x))", ":not(:not(.x))"},
        {"A /* and */ B", "B << A"},
        {".a\\.b", ".a.b"},
        {"", "[1: expected a selector]"},
        {"A >", "[4: expected a selector]"},
        {"A,", "[3: expected a selector]"},
        {"A + B", "B + A"},
        {"A~B", "B ~ A"},
        {"A + B ~ C > D E", "E << D < C ~ B + A"},
        {"A B+C, D", "C + B << A | D"},
        {"A ++ B", "[4: expected a selector, got '+']"},
        {"+ A", "[1: expected a selector, got '+']"},
        {"A |B", "[3: unexpected '|' in a selector]"},
        {"A[x]", "A[x]"},
        {"[ x = y ]", "[x=y]"},
        {"[x=\"a b\" i].c", ".c[x=a b i]"},
        {"[x=y S]", "[x=y]"},
        {"[x~=y][x|=y][x^=y][x$=y][x*=y]", "[x~=y][x|=y][x^=y][x$=y][x*=y]"},
        {"[]", "[2: expected an attribute name after '[']"},
        {"[x", "[3: expected ']', '=', '~=', '|=', '^=', '$=' or '*=' after the attribute name]"},
        {"[x!=y]", "[3: expected ']', '=', '~=', '|=', '^=', '$=' or '*=' after the attribute name]"},
        {"[x~y]", "[3: expected ']', '=', '~=', '|=', '^=', '$=' or '*=' after the attribute name]"},
        {"[x=1]", "[4: expected a name or a text in quotes after '=']"},
        {"[x=y z]", "[6: expected 'i', 's' or ']' after the value]"},
        {"[x=y i z]", "[8: expected ']']"},
        {":is(A, .b > C):not(D E, F + G)", ":is(A,C < .b):not(E << D,G + F)"},
        {":IS(A)", ":is(A)"},
        {":is()", ":is()"},
        {":is(A, :nth-child(x), B)",
         ":is(A,B) [19: expected 'odd', 'even', a number or a form like '2n+1' in ':nth-child()'; it is left out of ':is()']"},
        {":is(A)>B", "B < :is(A)"},
        {":is(A B", "[8: expected ',' or ')']"},
        {":not()", "[6: expected a selector]"},
        {":not(A, )", "[9: expected a selector]"},
        {":first-child:Last-Child", ":first:last"},
        {":nth-child(odd):nth-child(EVEN)", ":nth(2,1):nth(2,0)"},
        {":nth-child( 3 )", ":nth(0,3)"},
        {":nth-child(+3):nth-child(-3)", ":nth(0,3):nth(0,-3)"},
        {":nth-child(n):nth-child(-n+3):nth-child(+n)", ":nth(1,0):nth(-1,3):nth(1,0)"},
        {":nth-child(2n+1):nth-child(2N - 1):nth-child(-2n -3)", ":nth(2,1):nth(2,-1):nth(-2,-3)"},
        {":nth-child(2n+ 1):nth-child(2n +1):nth-child(0n+5)", ":nth(2,1):nth(2,1):nth(0,5)"},
        {":nth-child(99999999999n)", ":nth(100000000,0)"},
        {":nth-child(2n + -1)", "[12: expected 'odd', 'even', a number or a form like '2n+1' in ':nth-child()']"},
        {":nth-child(+ n)", "[12: expected 'odd', 'even', a number or a form like '2n+1' in ':nth-child()']"},
        {":nth-child(1.5)", "[12: expected 'odd', 'even', a number or a form like '2n+1' in ':nth-child()']"},
        {":nth-child()", "[12: expected 'odd', 'even', a number or a form like '2n+1' in ':nth-child()']"},
        {":lang(de)", ":lang(de)"},
        {"A:LANG( pt-BR ).b", "A:lang(pt-br).b"},
        {":lang(\"fi\") > B", "B < :lang(fi)"},
        {":not(:lang(de))", ":not(:lang(de))"},
        {":lang()", "[7: expected one language, as in ':lang(de)']"},
        {":lang(\"\")", "[7: expected one language, as in ':lang(de)']"},
        {":lang(de", "[9: expected one language, as in ':lang(de)']"},
        {":lang(de, fi)", "[9: expected one language, as in ':lang(de)']"},
        {":lang(5)", "[7: expected one language, as in ':lang(de)']"},
        {":nth-last-child(1)", "[2: the pseudo-class ':nth-last-child()' is not supported]"},
        {"A::b", "[3: pseudo-elements are not supported]"},
    };
    for (const Row& row : rows) {
        INFO(row.css);
        CHECK(parsed(row.css) == row.expected);
    }
}

TEST_CASE("selector parser: a selector has a bounded number of parts")
{
    const std::string most = "a" + QByteArray(" a").repeated(kMostSelectorParts - 1).toStdString();
    CHECK(parsed(most.c_str()).find("parts") == std::string::npos);
    CHECK(parsed((most + " > b").c_str()).find("a selector has more than 256 parts") != std::string::npos);
}

TEST_CASE("selector parser: counts ids, classes with attributes and pseudo-classes, and types, and the highest of a list")
{
    struct Row
    {
        const char* css;
        Specificity expected;
    };
    const Row rows[] = {
        {"*", {0, 0, 0}},
        {"A B > C", {0, 0, 3}},
        {"#a.b:c D", {1, 2, 1}},
        {"A:not(#x, .y.z)", {1, 0, 1}},
        {"A:not(B):not(.c)", {0, 1, 2}},
        {"A + B ~ C", {0, 0, 3}},
        {"[x][y=z]", {0, 2, 0}},
        {":first-child:nth-child(2n)", {0, 2, 0}},
        {":is(A, #b .c, .d)", {1, 1, 0}},
        {":not(A B, C)", {0, 0, 2}},
        {":is()", {0, 0, 0}},
    };
    for (const Row& row : rows) {
        INFO(row.css);
        const Tokens tokens = Tokenizer::run(QString::fromUtf8(row.css));
        SelectorParser parser(tokens, 0, int(tokens.list.size()) - 1);
        std::vector<Selector> selectors;
        REQUIRE(parser.parseList(selectors));
        CHECK(selectors.front().specificity == row.expected);
        CHECK(selectors.front().text == QString::fromUtf8(row.css));
    }
}
