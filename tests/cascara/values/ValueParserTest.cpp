#include "values/ValueParser.hpp"
#include "syntax/Tokenizer.hpp"

#include <doctest/doctest.h>

#include <string>

using Cascara::Tokenizer;
using Cascara::Tokens;
using Cascara::ValueParser;
using Kind = Facet::StyleTerm::Kind;

namespace
{
struct Parsed
{
    bool fits;
    Facet::StyleValue value;
    Cascara::StyleSheetError error;
};

Parsed parse(const char* css, const char* folder = "")
{
    const Tokens tokens = Tokenizer::run(QString::fromUtf8(css));
    ValueParser parser(tokens, QString::fromUtf8(folder));
    Parsed result{};
    result.fits = parser.parse(0, int(tokens.list.size()) - 1, result.value);
    result.error = parser.error();
    return result;
}
}

TEST_CASE("value parser: makes terms of tokens, which are written as they could stand in a style sheet")
{
    struct Row
    {
        const char* css;
        const char* expected;
        int terms;
    };
    const Row rows[] = {
        {"red", "red", 1},
        {"1 2.50 -3", "1 2.50 -3", 3},
        {"50%", "50%", 1},
        {"10PX", "10PX", 1},
        {"#fff", "#fff", 1},
        {"'a b'", "\"a b\"", 1},
        {"a , b/c", "a, b / c", 5},
        {"rgba( 1 ,2, 3 )", "rgba(1, 2, 3)", 6},
        {"f(g(1) 2) 3", "f(g(1) 2) 3", 5},
        {"f(1", "f(1)", 2},
        {"20-25", "20 -25", 2},
        {"10-", "10 -", 2},
    };
    for (const Row& row : rows) {
        INFO(row.css);
        const Parsed parsed = parse(row.css);
        CHECK(parsed.fits);
        CHECK(parsed.value.toString() == QString::fromUtf8(row.expected));
        CHECK(parsed.value.terms.size() == row.terms);
    }
    CHECK(parse("10PX").value.terms[0].unit == "px");
}

TEST_CASE("value parser: computes what is known, and keeps the rest as it is written")
{
    struct Row
    {
        const char* css;
        const char* expected;
    };
    const Row rows[] = {
        {"calc(1px + 2px)", "3px"},
        {"calc((1 + 2) * 3px)", "9px"},
        {"calc(-1 * (2 - -3))", "-5"},
        {"1 min(2, 3) 4", "1 2 4"},
        {"rgb(calc(1 + 1), 2, 3)", "rgb(2, 2, 3)"},
        {"calc(100% - 2px) 5px", "calc(100% - 2px) 5px"},
        {"max(10%, 2em)", "max(10%, 2em)"},
        {"calc(1px + 2px", "3px"},
        {"calc(calc(2) * 2)", "4"},
    };
    for (const Row& row : rows) {
        INFO(row.css);
        const Parsed parsed = parse(row.css);
        CHECK(parsed.fits);
        CHECK(parsed.value.toString() == QString::fromUtf8(row.expected));
    }
}

TEST_CASE("value parser: millimetres are pixels of the size that was set")
{
    CHECK(parse("11mm").value.terms[0].number == doctest::Approx(20.0));
    CHECK(parse("11mm").value.terms[0].unit == "px");
    ValueParser::setPixelPitch(0.5);
    CHECK(parse("11mm").value.terms[0].number == doctest::Approx(22.0));
    CHECK(parse("calc(11MM + 1px)").value.terms[0].number == doctest::Approx(23.0));
    ValueParser::setPixelPitch(0.55);
}

TEST_CASE("value parser: keeps the source without its comments")
{
    CHECK(parse("10,20-25").value.source == QStringLiteral("10,20-25"));
    CHECK(parse(" 10 ,  20 ").value.source == QStringLiteral("10 ,  20"));
    CHECK(parse("1/* two */0,/* */20").value.source == QStringLiteral("1 0, 20"));
    CHECK(parse("1--2").value.source == QStringLiteral("1--2"));
}

TEST_CASE("value parser: what cannot be part of a value is an error at its place")
{
    struct Row
    {
        const char* css;
        int column;
        const char* text;
    };
    const Row rows[] = {
        {"a = b", 3, "unexpected '='"},
        {"a)", 2, "unexpected ')'"},
        {"f(1 - 2)", 5, "unexpected '-'"},
        {"(1)", 1, "unexpected '('"},
        {"calc(1px +2px)", 1, "expected '+', '-', '*' or '/' between two values, '+' and '-' with blanks around them"},
        {"calc(1px+ 2px)", 9, "unexpected '+'"},
        {"calc(2 -(1))", 8, "unexpected '-'"},
        {"1 calc(1px + 2)", 3, "values of different kinds are put together"},
        {"1px clac(1px + 2px)", 5, "there is no function 'clac' (did you mean 'calc'?)"},
        {"blur(1 + 2)", 8, "unexpected '+'"},
        {"calc({})", 6, "unexpected '{'"},
        {"'a\n", 1, "the text is not closed on its line"},
        {"url(a b)", 1, "the url() is malformed: put its address in quotes"},
        {"url('a' b)", 1, "the url() is malformed: expected one quoted text"},
    };
    for (const Row& row : rows) {
        INFO(row.css);
        const Parsed parsed = parse(row.css);
        CHECK_FALSE(parsed.fits);
        CHECK(parsed.error.column == row.column);
        CHECK(parsed.error.text == QString::fromUtf8(row.text));
    }
}

TEST_CASE("value parser: a file name is meant relative to the style sheet's folder, an address is not")
{
    struct Row
    {
        const char* css;
        const char* expected;
    };
    const Row rows[] = {
        {"url(a.png)", "/sheets/a.png"},
        {"url('../b.png')", "/b.png"},
        {"url(/c.png)", "/c.png"},
        {"url(http://host/d.png)", "http://host/d.png"},
        {"url(qrc:/e.png)", "qrc:/e.png"},
        {"url(#f)", "#f"},
        {"URL( \"g h.png\" )", "/sheets/g h.png"},
    };
    for (const Row& row : rows) {
        INFO(row.css);
        const Parsed parsed = parse(row.css, "/sheets");
        REQUIRE(parsed.value.terms.size() == 1);
        CHECK(parsed.value.terms[0].kind == Kind::Url);
        CHECK(parsed.value.terms[0].text == QString::fromUtf8(row.expected));
    }
    CHECK(ValueParser::resolve(QStringLiteral("a.png"), QString()) == QStringLiteral("a.png"));
}
