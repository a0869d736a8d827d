#include "motion/MotionLonghand.hpp"
#include "motion/AnimationList.hpp"
#include "motion/TransitionList.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <doctest/doctest.h>

#include <string>

using Cascara::checkMotionValue;
using Cascara::MotionLonghand;

namespace
{
Facet::StyleValue parse(const char* css)
{
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromUtf8(css));
    Cascara::ValueParser parser(tokens, QString());
    Facet::StyleValue value;
    REQUIRE(parser.parse(0, int(tokens.list.size()) - 1, value));
    return value;
}
}

TEST_CASE("motion longhand: each has its name, and no attribute is one")
{
    for (int i = 0; i < Cascara::kMotionLonghandCount; ++i)
        CHECK(Cascara::motionLonghand(Cascara::motionLonghandName(MotionLonghand(i))) == i);
    CHECK(Cascara::motionLonghandName(MotionLonghand::AnimationFillMode) == "animation-fill-mode");
    for (const char* name : {"transition", "animation", "animation-time", "width"})
        CHECK(Cascara::motionLonghand(name) == -1);
}

TEST_CASE("motion longhand: each takes lists of its own words, and says what it expects instead of others")
{
    using L = MotionLonghand;
    struct Row
    {
        L longhand;
        const char* right;
        const char* wrong;
        const char* error;
    };
    const char* const noDuration = "expected a time that is not negative, as in 0.2s or 200ms";
    const char* const noFunction = "expected a timing function, as in ease-out, cubic-bezier(0.2, 0, 0, 1) or steps(4)";
    const Row rows[] = {
        {L::TransitionProperty, "opacity, all", "opacity width", "expected attributes, all or none"},
        {L::TransitionProperty, "none", "none, opacity", "expected attributes, all or none"},
        {L::TransitionProperty, "scale", "skale", "'skale' takes no part in transitions (did you mean 'scale'?)"},
        {L::TransitionDuration, "1s, 20ms", "-1s", noDuration},
        {L::TransitionDuration, "0s", "1s 2s", noDuration},
        {L::TransitionDuration, "0s", "2000000s", noDuration},
        {L::TransitionTiming, "linear, steps(2)", "slow", noFunction},
        {L::TransitionDelay, "-1s, 1s", "1px", "expected a time, as in 0.2s or 200ms"},
        {L::AnimationName, "a, none, \"b\"", "1", "expected names of keyframes, or none"},
        {L::AnimationDuration, "1s", "auto", noDuration},
        {L::AnimationTiming, "ease", "cubic-bezier(2, 0, 0, 1)", noFunction},
        {L::AnimationDelay, "-2s", "soon", "expected a time, as in 0.2s or 200ms"},
        {L::AnimationIterationCount, "2, infinite, 0.5", "-1", "expected a number that is not negative, or infinite"},
        {L::AnimationDirection, "Alternate, reverse", "back", "expected normal, reverse, alternate or alternate-reverse"},
        {L::AnimationFillMode, "both, none", "forward", "expected none, forwards, backwards or both"},
        {L::AnimationPlayState, "paused", "stopped", "expected running or paused"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.right));
        CAPTURE(std::string(row.wrong));
        QString error;
        CHECK(checkMotionValue(row.longhand, parse(row.right), error));
        CHECK(error.isEmpty());
        CHECK_FALSE(checkMotionValue(row.longhand, parse(row.wrong), error));
        CHECK(error == QString::fromUtf8(row.error));
    }
}

TEST_CASE("motion longhand: lists that are shorter than that of the names begin again")
{
    const auto names = parse("opacity, width, height");
    const auto durations = parse("1s, 2s");
    Cascara::MotionValues values{};
    values[std::size_t(MotionLonghand::TransitionProperty)] = &names;
    values[std::size_t(MotionLonghand::TransitionDuration)] = &durations;
    Cascara::TransitionList list;
    QString error;
    REQUIRE(Cascara::TransitionList::read(values, list, error));
    CHECK(list.find("opacity")->seconds == 1.0);
    CHECK(list.find("width")->seconds == 2.0);
    CHECK(list.find("height")->seconds == 1.0);
    CHECK_FALSE(list.names("scale"));
    values[std::size_t(MotionLonghand::TransitionDuration)] = nullptr;
    REQUIRE(Cascara::TransitionList::read(values, list, error));
    CHECK_FALSE(list.find("width")); // takes no time
    CHECK(list.names("width"));
    CHECK_FALSE(list.names("text"));
}
