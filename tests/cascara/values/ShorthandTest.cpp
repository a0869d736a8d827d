#include "values/Shorthand.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <doctest/doctest.h>

#include <string>

using Cascara::Shorthand;

namespace
{
/// "attribute=value" for each part, or the error in brackets.
std::string expanded(const char* name, const char* css, bool withSides = false)
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
    for (const Shorthand::Part& part : parts) {
        // Those of single sides are reset.
        if (!withSides && part.attribute.count('-') > 1 && part.value.toString() == QLatin1String("initial"))
            continue;
        result += (result.empty() ? "" : "; ") + (part.attribute + '=').toStdString() + part.value.toString().toStdString();
    }
    return result;
}
}

#define BACKGROUND(color, image, position, size, repeat)                                                                         \
    "background-color=" color "; background-image=" image "; background-position=" position "; background-size=" size            \
    "; background-repeat=" repeat

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
        {"border-top", "2px solid red", "border-top-width=2px; border-top-color=red"},
        {"border-left", "none", "border-left-width=0"},
        {"border-width", "3px", "border-width=3px"},
        {"border-width", "thick", "border-width=thick"},
        {"border-width", "1px 2px",
         "border-width=1px; border-top-width=1px; border-right-width=2px; border-bottom-width=1px; border-left-width=2px"},
        {"border-color", "red rgb(0 0 0 / 5%) blue",
         "border-color=red; border-top-color=red; border-right-color=rgb(0 0 0 / 5%); border-bottom-color=blue; "
         "border-left-color=rgb(0 0 0 / 5%)"},
        {"border-radius", "1px 2px 3px calc(1px + 1em)",
         "border-radius=1px; border-top-left-radius=1px; border-top-right-radius=2px; border-bottom-right-radius=3px; "
         "border-bottom-left-radius=calc(1px + 1em)"},
        {"background", "#123", BACKGROUND("#123", "initial", "initial", "initial", "initial")},
        {"background", "none", BACKGROUND("initial", "initial", "initial", "initial", "initial")},
        {"background", "hsl(1, 2%, 3%)", BACKGROUND("hsl(1, 2%, 3%)", "initial", "initial", "initial", "initial")},
        {"background", "url(a.png) no-repeat", BACKGROUND("initial", "url(\"a.png\")", "left top", "auto", "no-repeat")},
        {"background", "right 10% / cover url(a.png) repeat-x red",
         BACKGROUND("red", "url(\"a.png\")", "right 10%", "cover", "repeat-x")},
        {"background", "linear-gradient(red, blue) 0 0 / 20px 30px, url(a.png) center, #fff",
         BACKGROUND("#fff", "linear-gradient(red, blue), url(\"a.png\")", "0 0, center", "20px 30px, auto", "repeat, repeat")},
        {"background", "red no-repeat", BACKGROUND("red", "initial", "left top", "auto", "no-repeat")},
        {"background", "12px / 50%", BACKGROUND("initial", "initial", "12px", "50%", "repeat")},
        {"background", "none #fff", BACKGROUND("#fff", "initial", "initial", "initial", "initial")},
        {"background", "url(a.png), none no-repeat red", BACKGROUND("red", "url(\"a.png\")", "left top", "auto", "repeat")},
        {"background", "none 1px repeat-x, url(a.png)", BACKGROUND("initial", "url(\"a.png\")", "left top", "auto", "repeat")},
        {"font", "oblique 20px Inter",
         "font-style=oblique; font-weight=initial; font-size=20px; line-height=initial; font-family=Inter"},
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
    CHECK_FALSE(Shorthand::isShorthand("background-color"));
    CHECK_FALSE(Shorthand::isShorthand("border-top-width"));
}

TEST_CASE("shorthand: what cannot be parted is an error that says what is expected")
{
    const char* const border = "[expected a width, 'solid' and a colour, or none]";
    for (const char* css : {"1px 2px", "red blue", "solid solid", "none 2px", "1px dashed", "1px solid reddish", "'a'"}) {
        CAPTURE(std::string(css));
        CHECK(expanded("border", css) == border);
    }
    for (const char* css : {"red blue", "none none", "red, url(a.png)", "url(a.png),", ", red", "url(a.png) url(b.png)",
                            "url(a.png) /", "url(a.png) / cover", "url(a.png) 1px 2px 3px", "url(a.png) left / ",
                            "none url(a.png)", "url(a.png) repeat repeat repeat"}) {
        CAPTURE(std::string(css));
        CHECK(expanded("background", css)
              == "[expected none, or a colour and pictures, each with its position, '/' and size, and repetition]");
    }
    CHECK(expanded("border-width", "1px 2px 3px 4px 5px") == "[expected one to four widths]");
    CHECK(expanded("border-width", "1px red") == "[expected one to four widths]");
    CHECK(expanded("border-color", "red 1px") == "[expected one to four colours]");
    CHECK(expanded("border-radius", "1px auto") == "[expected one to four radii]");
    CHECK(expanded("border-top", "1px 2px") == border);
    for (const char* css : {"20px", "Inter", "bold Inter", "20px/", "20 Inter", "italic italic 20px Inter", "20px/1.4"}) {
        CAPTURE(std::string(css));
        CHECK(expanded("font", css) == "[expected a size with its unit and a family, as in 'italic bold 20px/1.4 Inter']");
    }
}

TEST_CASE("shorthand: those of a border reset the sides and corners")
{
    CHECK(expanded("border-radius", "4px", true)
          == "border-radius=4px; border-top-left-radius=initial; border-top-right-radius=initial; "
             "border-bottom-right-radius=initial; border-bottom-left-radius=initial");
    const std::string border = expanded("border", "4px solid red", true);
    for (const char* side : {"top", "right", "bottom", "left"})
        for (const char* what : {"-width=initial", "-color=initial"}) {
            CAPTURE(border);
            CHECK(border.find(std::string("border-") + side + what) != std::string::npos);
        }
    CHECK(expanded("border-color", "inherit", true).find("border-left-color=inherit") != std::string::npos);
}
