#include "sheet/MediaQuery.hpp"
#include "syntax/Tokenizer.hpp"

#include <doctest/doctest.h>

#include <string>

using Cascara::Media;
using Cascara::MediaQuery;

namespace
{
MediaQuery parse(const char* css, std::vector<Cascara::StyleSheetError>& errors)
{
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromUtf8(css));
    return MediaQuery::parse(tokens, 0, int(tokens.list.size()) - 1, errors);
}
}

TEST_CASE("media query: a square is upright")
{
    std::vector<Cascara::StyleSheetError> errors;
    CHECK(parse("(orientation: portrait)", errors).matches({500.f, 500.f, false}));
    CHECK_FALSE(parse("(orientation: landscape)", errors).matches({500.f, 500.f, false}));
}

TEST_CASE("media query: asks for the table's size, orientation and motion")
{
    struct Row
    {
        const char* css;
        bool wide;    ///< holds on 1920 x 1080
        bool upright; ///< holds on 1080 x 1920 with reduced motion
    };
    const Row rows[] = {
        {"", true, true},
        {"all", true, true},
        {"screen", true, true},
        {"print", false, false},
        {"not print", true, true},
        {"only screen and (min-width: 1200px)", true, false},
        {"(min-width: 1920px)", true, false},
        {"(min-width: 1921px)", false, false},
        {"(max-width: 1080px)", false, true},
        {"(width: 1920px)", true, false},
        {"(width)", true, true},
        {"(HEIGHT: 1920)", false, true},
        {"(min-height: calc(1000px + 100px))", false, true},
        {"(width > 1080px)", true, false},
        {"(width >= 1080px)", true, true},
        {"(width<1080px)", false, false},
        {"(width <= 1080px)", false, true},
        {"(width = 1920px)", true, false},
        {"(1080px < width)", true, false},
        {"(1080px <= width < 1920px)", false, true},
        {"(2000px > width >= 1920px)", true, false},
        {"(orientation: landscape)", true, false},
        {"(orientation: portrait)", false, true},
        {"(prefers-reduced-motion: reduce)", false, true},
        {"(prefers-reduced-motion: no-preference)", true, false},
        {"(prefers-reduced-motion)", false, true},
        {"(min-width: 1px) and (orientation: landscape)", true, false},
        {"(orientation: portrait) or (orientation: landscape)", true, true},
        {"not (orientation: portrait)", true, false},
        {"not all and (orientation: portrait)", true, false},
        {"(not (orientation: portrait)) and (min-width: 1px)", true, false},
        {"((width) and (orientation: portrait))", false, true},
        {"print, (orientation: portrait)", false, true},
        {"(width >= 1000mm)", true, false},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.css));
        std::vector<Cascara::StyleSheetError> errors;
        const MediaQuery query = parse(row.css, errors);
        CHECK(errors.empty());
        CHECK(query.matches({1920.f, 1080.f, false}) == row.wide);
        CHECK(query.matches({1080.f, 1920.f, true}) == row.upright);
    }
}

TEST_CASE("media query: what is not understood does not hold, and the other queries of the list do")
{
    struct Row
    {
        const char* css;
        int column;
        const char* text;
    };
    const Row rows[] = {
        {"(widht > 3px)", 2, "there is no feature 'widht' (did you mean 'width'?)"},
        {"(color)", 2, "there is no feature 'color'"},
        {"(orientation: portait)", 15, "orientation: expected landscape or portrait (did you mean 'portrait'?)"},
        {"(min-width: red)", 13, "min-width: expected a length in px or mm"},
        {"(min-width 3px)", 12, "expected ':' in '@media'"},
        {"(min-width: 3px", 16, "expected ')' in '@media'"},
        {"screen (width)", 8, "expected 'and' or ',' in '@media'"},
        {"(width) and (height) or (width)", 22, "expected 'and' or ',' in '@media'"},
        {"screen and", 11, "expected '(' in '@media'"},
        {"(3px < )", 8, "expected the name of a feature in '@media'"},
        {"(not (widht: 3px))", 7, "there is no feature 'widht' (did you mean 'width'?)"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.css));
        std::vector<Cascara::StyleSheetError> errors;
        CHECK_FALSE(parse(row.css, errors).matches({}));
        REQUIRE(errors.size() == 1);
        CHECK(errors[0].column == row.column);
        CHECK(errors[0].text == QString::fromUtf8(row.text) + QStringLiteral("; the condition does not hold"));
        errors.clear();
        CHECK(parse((std::string(row.css) + (row.css == std::string("(min-width: 3px") ? ")" : "") + ", all").c_str(), errors)
                  .matches({}));
    }
    std::string deep;
    for (int i = 0; i < 1000; ++i)
        deep += "(not ";
    std::vector<Cascara::StyleSheetError> errors;
    CHECK_FALSE(parse(deep.c_str(), errors).matches({}));
    REQUIRE(errors.size() == 1);
    CHECK(errors[0].text == QStringLiteral("conditions are nested too deeply: at most 32; the condition does not hold"));
}
