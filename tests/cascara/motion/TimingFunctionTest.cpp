#include "motion/TimingFunction.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <doctest/doctest.h>

#include <optional>
#include <string>

using Cascara::TimingFunction;

namespace
{
std::optional<TimingFunction> timing(const char* css)
{
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromUtf8(css));
    Cascara::ValueParser parser(tokens, QString());
    Facet::StyleValue value;
    REQUIRE(parser.parse(0, int(tokens.list.size()) - 1, value));
    TimingFunction result;
    int position = 0;
    if (!TimingFunction::read(value.terms, position, result)) {
        CHECK(position == 0);
        return std::nullopt;
    }
    CHECK(position == value.terms.size());
    return result;
}
}

TEST_CASE("timing function: the usual ones have come as far as the standard says")
{
    struct Row
    {
        const char* css;
        double at[5]; ///< at 0, a quarter, a half, three quarters and 1
    };
    // The curves' values are those of cubic Bezier curves, computed by halving.
    const Row rows[] = {
        {"linear", {0, 0.25, 0.5, 0.75, 1}},
        {"ease", {0, 0.4085, 0.8024, 0.9605, 1}},
        {"ease-in", {0, 0.0935, 0.3154, 0.6219, 1}},
        {"ease-out", {0, 0.3781, 0.6846, 0.9065, 1}},
        {"ease-in-out", {0, 0.1292, 0.5, 0.8708, 1}},
        {"EASE-IN", {0, 0.0935, 0.3154, 0.6219, 1}},
        {"cubic-bezier(0, 0, 1, 1)", {0, 0.25, 0.5, 0.75, 1}},
        {"cubic-bezier(0.42, 0, 1, 1)", {0, 0.0935, 0.3154, 0.6219, 1}},
        {"cubic-bezier(1, 0, 0, 1)", {0, 0.0297, 0.5, 0.9703, 1}},
        {"step-start", {1, 1, 1, 1, 1}},
        {"step-end", {0, 0, 0, 0, 1}},
        {"steps(2)", {0, 0, 0.5, 0.5, 1}},
        {"steps(2, end)", {0, 0, 0.5, 0.5, 1}},
        {"steps(2, start)", {0.5, 0.5, 1, 1, 1}},
        {"steps(2, jump-start)", {0.5, 0.5, 1, 1, 1}},
        {"steps(4, jump-none)", {0, 1 / 3.0, 2 / 3.0, 1, 1}},
        {"steps(1, jump-both)", {0.5, 0.5, 0.5, 0.5, 1}},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.css));
        const auto function = timing(row.css);
        REQUIRE(function);
        for (int i = 0; i < 5; ++i)
            CHECK(function->at(i / 4.0) == doctest::Approx(row.at[i]).epsilon(0.001));
    }
    CHECK(TimingFunction().at(0.25) == doctest::Approx(0.4085).epsilon(0.001));
    CHECK(timing("cubic-bezier(0.3, -1, 0.7, 2)")->at(0.1) < 0.0);
    CHECK(timing("cubic-bezier(0.3, -1, 0.7, 2)")->at(0.9) > 1.0);
}

TEST_CASE("timing function: anything else is none")
{
    for (const char* css : {"easy", "1s", "cubic-bezier(0, 0, 1)", "cubic-bezier(-0.1, 0, 1, 1)", "cubic-bezier(0, 0, 1.1, 1)",
                            "cubic-bezier(0 0 1 1)", "cubic-bezier(0, 0, 1px, 1)", "steps(0)", "steps(1.5)", "steps(2 end)",
                            "steps(1, jump-none)", "steps(2, middle)", "steps(2, end, end)", "steps(99999999)", "rgb(1, 2, 3)"}) {
        CAPTURE(std::string(css));
        CHECK_FALSE(timing(css));
    }
}
