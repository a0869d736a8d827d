#include "motion/MotionShorthand.hpp"
#include "motion/AnimationList.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include <doctest/doctest.h>

#include <cmath>
#include <string>
#include <vector>

using Cascara::Animation;
using Cascara::AnimationList;
using Cascara::MotionShorthand;

namespace
{
Facet::StyleValue parseShorthand(const char* css)
{
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromUtf8(css));
    Cascara::ValueParser parser(tokens, QString());
    Facet::StyleValue value;
    REQUIRE(parser.parse(0, int(tokens.list.size()) - 1, value));
    return value;
}

bool readAnimation(const char* css, AnimationList& list, QString& error)
{
    std::vector<Cascara::Shorthand::Part> parts;
    if (!MotionShorthand::expand("animation", parseShorthand(css), parts, error))
        return false;
    Cascara::MotionValues values{};
    for (const auto& part : parts)
        values[std::size_t(Cascara::motionLonghand(part.attribute))] = &part.value;
    return AnimationList::read(values, list, error);
}

/// All of an animation but its timing function, in words.
std::string described(const Animation& animation)
{
    const auto& timing = animation.timing;
    const auto number = [](double value) { return std::isinf(value) ? "inf" : QString::number(value).toStdString(); };
    return animation.name.toStdString() + " " + number(timing.seconds) + "s " + number(timing.delaySeconds) + "s x"
        + number(timing.iterations) + " " + std::to_string(int(timing.direction)) + std::to_string(int(timing.fillMode))
        + (animation.isPaused ? " paused" : "");
}
}

TEST_CASE("motion shorthand: a transition stands for four longhands, each a list of its entries")
{
    std::vector<Cascara::Shorthand::Part> parts;
    QString error;
    REQUIRE(MotionShorthand::expand("transition", parseShorthand("opacity 0.2s, 1s width steps(4, start) -300ms"), parts, error));
    std::vector<std::string> written;
    for (const auto& part : parts)
        written.push_back(part.attribute.toStdString() + ": " + part.value.toString().toStdString());
    CHECK(written
          == std::vector<std::string>{"transition-property: opacity, width", "transition-duration: 0.2s, 1s",
                                      "transition-timing-function: ease, steps(4, start)", "transition-delay: 0s, -300ms"});
    REQUIRE(MotionShorthand::expand("transition", parseShorthand("inherit"), parts, error));
    CHECK(parts.size() == 4);
    CHECK(parts.back().value.toString() == QStringLiteral("inherit"));
}

TEST_CASE("motion shorthand: an animation says its parts in any order, and a word is a name where it is nothing else")
{
    struct Row
    {
        const char* css;
        const char* meaning;
    };
    const Row rows[] = {
        {"grow 0.3s", "grow 0.3s 0s x1 00"},
        {"300ms 100ms grow", "grow 0.3s 0.1s x1 00"},
        {"grow 1s -1s 2.5", "grow 1s -1s x2.5 00"},
        {"infinite alternate both paused 1s pulse", "pulse 1s 0s xinf 23 paused"},
        {"1s reverse forwards \"my name\"", "my name 1s 0s x1 11"},
        {"1s alternate-reverse backwards running x", "x 1s 0s x1 32"},
        {"1s normal none x", "x 1s 0s x1 00"},
        {"1s ease ease", "ease 1s 0s x1 00"},
        {"1s paused paused", "paused 1s 0s x1 00 paused"},
        {"0 x", "x 0s 0s x0 00"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.css));
        AnimationList list;
        QString error;
        REQUIRE(readAnimation(row.css, list, error));
        REQUIRE(list.all().size() == 1);
        CHECK(described(list.all().front()) == row.meaning);
    }
}

TEST_CASE("motion shorthand: several animations have commas between them, and none is no animation")
{
    AnimationList list;
    QString error;
    REQUIRE(readAnimation("a 1s linear, none, b 2s steps(2)", list, error));
    REQUIRE(list.all().size() == 2);
    CHECK(described(list.all()[1]) == "b 2s 0s x1 00");
    CHECK(list.all()[0].function.at(0.25) == 0.25);
    CHECK(list.all()[1].function.at(0.25) == 0.0);
    REQUIRE(readAnimation("none", list, error));
    CHECK(list.all().empty());
}

TEST_CASE("motion shorthand: what is no animation is refused whole, with the reason")
{
    struct Row
    {
        const char* css;
        const char* error;
    };
    const char* const anything = "expected the name of keyframes, a time, a timing function, a delay, a number of iterations, a "
                                 "direction, a fill mode and a play state";
    const Row rows[] = {
        {"grow 1px", anything},
        {"grow 1s shrink", anything},
        {"1s 2s 3s grow", anything},
        {"grow 1s,", anything},
        {"grow -1s", "expected a time that is not negative, as in 0.2s or 200ms"},
        {"grow 1s -2", anything},
        {"grow 1s / 2", anything},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.css));
        AnimationList list;
        QString error;
        CHECK_FALSE(readAnimation(row.css, list, error));
        CHECK(error == QString::fromLatin1(row.error));
    }
}
