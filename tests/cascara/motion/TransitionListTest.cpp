#include "motion/TransitionList.hpp"
#include "motion/MotionShorthand.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <doctest/doctest.h>

#include <string>
#include <vector>

using Cascara::TransitionList;

namespace
{
/// What `transition: css` says.
bool read(const char* css, TransitionList& list, QString& error)
{
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromUtf8(css));
    Cascara::ValueParser parser(tokens, QString());
    Facet::StyleValue value;
    REQUIRE(parser.parse(0, int(tokens.list.size()) - 1, value));
    std::vector<Cascara::Shorthand::Part> parts;
    if (!Cascara::MotionShorthand::expand("transition", value, parts, error))
        return false;
    Cascara::MotionValues values{};
    for (const auto& part : parts)
        values[std::size_t(Cascara::motionLonghand(part.attribute))] = &part.value;
    return TransitionList::read(values, list, error);
}
}

TEST_CASE("transition list: each entry is an attribute, a time, a timing function and a delay, in any order")
{
    struct Row
    {
        const char* css;
        double seconds; ///< of opacity; -1 for none
        double delay;
        double half; ///< how far it has come halfway
    };
    const Row rows[] = {
        {"opacity 1s", 1, 0, 0.8024},
        {"1s opacity linear 500ms", 1, 0.5, 0.5},
        {"all 0.3s", 0.3, 0, 0.8024},
        {"200ms", 0.2, 0, 0.8024},
        {"width 1s", -1, 0, 0},
        {"opacity 1s, all 2s linear", 2, 0, 0.5},
        {"all 2s, opacity 1s linear", 1, 0, 0.5},
        {"opacity 1s cubic-bezier(0, 0, 1, 1), width 2s", 1, 0, 0.5},
        {"opacity 1s -250ms", 1, -0.25, 0.8024},
        {"opacity 1s -1s", -1, 0, 0},
        {"opacity 0s", -1, 0, 0},
        {"opacity 0s 1s", 0, 1, 0.8024},
        {"none", -1, 0, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.css));
        TransitionList list;
        QString error;
        REQUIRE(read(row.css, list, error));
        const auto* found = list.find("opacity");
        REQUIRE((found != nullptr) == (row.seconds >= 0.0));
        if (!found)
            continue;
        CHECK(found->seconds == row.seconds);
        CHECK(found->delaySeconds == row.delay);
        CHECK(found->timing.at(0.5) == doctest::Approx(row.half).epsilon(0.001));
    }
}

TEST_CASE("transition list: settings and texts take no part, not even in all")
{
    TransitionList list;
    QString error;
    REQUIRE(read("all 1s", list, error));
    for (const char* name : {"opacity", "width", "location", "rotation", "scale", "background-color", "color"})
        CHECK(list.find(name));
    for (const char* name : {"tooltip-timeout", "animation-time", "text", "source", "movable", "card-size", "period"})
        CHECK_FALSE(list.find(name));
    CHECK_FALSE(read("animation-time 1s", list, error));
    CHECK(error == QStringLiteral("'animation-time' takes no part in transitions"));
    CHECK_FALSE(read("opacty 1s", list, error));
    CHECK(error == QStringLiteral("'opacty' takes no part in transitions (did you mean 'opacity'?)"));
}

TEST_CASE("transition list: anything else is refused whole, and the list stays as it was")
{
    TransitionList list;
    QString error;
    REQUIRE(read("opacity 1s", list, error));
    for (const char* css : {"opacity width 1s", "1s 2s 3s", "opacity 1s,", ", opacity 1s", "none, opacity 1s", "opacity -1s",
                            "opacity 1px", "opacity 1s linear linear x", "\"opacity\" 1s", "opacity 1s / 2s"}) {
        CAPTURE(std::string(css));
        CHECK_FALSE(read(css, list, error));
        CHECK(list.find("opacity"));
    }
}
