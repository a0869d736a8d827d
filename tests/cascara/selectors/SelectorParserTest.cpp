#include "selectors/SelectorParser.hpp"
#include "syntax/Tokenizer.hpp"

#include <doctest/doctest.h>

#include <Facet/NameTable.hpp>

#include <string>

using namespace Cascara;

namespace
{
std::string written(const Compound& compound)
{
    std::string text;
    for (const Feature& feature : compound.features) {
        const char* const marks[] = {"", "#", ".", ":"};
        text += marks[int(feature.kind)] + Facet::NameTable::instance().name(feature.name).toStdString();
    }
    for (const auto& negation : compound.negations) {
        text += ":not(";
        for (const Compound& inner : negation)
            text += (&inner == &negation.front() ? "" : ",") + written(inner);
        text += ")";
    }
    return text.empty() ? "*" : text;
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
    for (const Selector& selector : selectors) {
        if (!text.empty())
            text += " | ";
        for (std::size_t i = 0; i < selector.parts.size(); ++i) {
            text += written(selector.parts[i].compound);
            if (i + 1 < selector.parts.size())
                text += selector.parts[i].toLeft == Combinator::Child ? " < " : " << ";
        }
    }
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
        {"A + B", "[3: the combinator '+' is not supported]"},
        {"A[x]", "[2: attribute selectors are not supported]"},
        {"A::b", "[3: pseudo-elements are not supported]"},
    };
    for (const Row& row : rows) {
        INFO(row.css);
        CHECK(parsed(row.css) == row.expected);
    }
}

TEST_CASE("selector parser: counts ids, classes with pseudo-classes, and types, and the highest of a negation")
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
