#include "values/Shorthand.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <doctest/doctest.h>

#include <string>

using Cascara::Shorthand;

namespace
{
/// "attribute=value" for each part, or the error in brackets.
std::string expanded(const char* name, const char* css)
{
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromUtf8(css));
    Cascara::ValueParser parser(tokens, QString());
    Facet::StyleValue value;
    REQUIRE(parser.parse(0, int(tokens.list.size()) - 1, value));
    std::vector<Shorthand::Part> parts;
    QString error;
    if (!Shorthand::expand(name, value, parts, error))
        return "[" + error.toStdString() + "]";
    std::string result;
    for (const Shorthand::Part& part : parts)
        result += (result.empty() ? "" : "; ") + (part.attribute + '=').toStdString() + part.value.toString().toStdString();
    return result;
}
}

TEST_CASE("shorthand: what each stands for, with initial for what is not named")
{
    struct Row
    {
        const char* name;
        const char* css;
        const char* parts;
    };
    const Row rows[] = {
        {"border", "2px solid red", "border-width=2px; border-color=red"},
        {"border", "rgb(1 2 3 / 50%) 3px", "border-width=3px; border-color=rgb(1 2 3 / 50%)"},
        {"border", "solid", "border-width=initial; border-color=initial"},
        {"border", "calc(1px + 1em)", "border-width=calc(1px + 1em); border-color=initial"},
        {"border", "none", "border-width=0; border-color=initial"},
        {"border", "inherit", "border-width=inherit; border-color=inherit"},
        {"background", "#123", "background-color=#123"},
        {"background", "none", "background-color=initial"},
        {"background", "hsl(1, 2%, 3%)", "background-color=hsl(1, 2%, 3%)"},
        {"font", "20px Inter", "font-style=initial; font-weight=initial; font-size=20px; line-height=initial; font-family=Inter"},
        {"font", "italic bold 1.5em/1.4 Inter, 'Noto Sans'",
         "font-style=italic; font-weight=bold; font-size=1.5em; line-height=1.4; font-family=Inter, \"Noto Sans\""},
        {"font", "normal 300 50%/120% serif",
         "font-style=initial; font-weight=300; font-size=50%; line-height=120%; font-family=serif"},
        {"font", "unset", "font-style=unset; font-weight=unset; font-size=unset; line-height=unset; font-family=unset"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.css));
        CHECK(Shorthand::isShorthand(row.name));
        CHECK(expanded(row.name, row.css) == row.parts);
    }
    CHECK_FALSE(Shorthand::isShorthand("border-color"));
}

TEST_CASE("shorthand: what cannot be parted is an error that says what is expected")
{
    const char* const border = "[expected a width, 'solid' and a colour, or none]";
    for (const char* css : {"1px 2px", "red blue", "solid solid", "none 2px", "1px dashed", "1px solid reddish", "'a'"}) {
        CAPTURE(std::string(css));
        CHECK(expanded("border", css) == border);
    }
    for (const char* css : {"red blue", "12px", "url(a.png)"})
        CHECK(expanded("background", css) == "[expected a colour or none]");
    for (const char* css : {"20px", "Inter", "bold Inter", "20px/", "20 Inter", "italic italic 20px Inter", "20px/1.4"}) {
        CAPTURE(std::string(css));
        CHECK(expanded("font", css) == "[expected a size with its unit and a family, as in 'italic bold 20px/1.4 Inter']");
    }
}
