#include "motion/KeyframeTrack.hpp"
#include "syntax/Tokenizer.hpp"
#include "values/ValueParser.hpp"

#include "../../facet/AllocationCounter.hpp"

#include <doctest/doctest.h>

#include <string>
#include <utility>
#include <vector>

using Cascara::KeyframeTrack;
using Cascara::TimingFunction;

namespace
{
TimingFunction function(const char* css)
{
    const Cascara::Tokens tokens = Cascara::Tokenizer::run(QString::fromUtf8(css));
    Cascara::ValueParser parser(tokens, QString());
    Facet::StyleValue value;
    REQUIRE(parser.parse(0, int(tokens.list.size()) - 1, value));
    TimingFunction result;
    int position = 0;
    REQUIRE(TimingFunction::read(value.terms, position, result));
    return result;
}

KeyframeTrack::Point point(double offset, const char* text, const char* timing = "linear")
{
    return {offset, QString::fromUtf8(text), function(timing)};
}

double numberAt(KeyframeTrack& track, double progress)
{
    return track.at(progress).terms.first().number;
}
}

TEST_CASE("keyframe track: values go from each keyframe to the next, whatever order they are written in")
{
    KeyframeTrack track({point(1.0, "100"), point(0.0, "0"), point(0.25, "80")}, function("linear"));
    track.setRest(QStringLiteral("7"));
    CHECK(numberAt(track, 0.0) == 0.0);
    CHECK(numberAt(track, 0.125) == 40.0);
    CHECK(numberAt(track, 0.25) == 80.0);
    CHECK(numberAt(track, 0.625) == 90.0);
    CHECK(numberAt(track, 1.0) == 100.0);
}

TEST_CASE("keyframe track: where nothing is said of the ends, the way begins and ends at the value at rest")
{
    KeyframeTrack track({point(0.5, "10")}, function("linear"));
    track.setRest(QStringLiteral("2"));
    CHECK(numberAt(track, 0.0) == 2.0);
    CHECK(numberAt(track, 0.25) == 6.0);
    CHECK(numberAt(track, 1.0) == 2.0);
    track.setRest(QStringLiteral("20"));
    CHECK(numberAt(track, 0.75) == 15.0);
    KeyframeTrack empty({}, function("linear"));
    empty.setRest(QStringLiteral("3"));
    CHECK(numberAt(empty, 0.5) == 3.0);
}

TEST_CASE("keyframe track: a keyframe says how the value goes from it, and of two at one moment the later one counts")
{
    KeyframeTrack track({point(0.0, "0", "step-end"), point(0.5, "9"), point(0.5, "10"), point(1.0, "20")}, function("linear"));
    track.setRest(QString());
    CHECK(numberAt(track, 0.4) == 0.0);
    CHECK(numberAt(track, 0.5) == 10.0);
    CHECK(numberAt(track, 0.75) == 15.0);
    KeyframeTrack usual({point(1.0, "10")}, function("steps(2)"));
    usual.setRest(QStringLiteral("0"));
    CHECK(numberAt(usual, 0.49) == 0.0);
    CHECK(numberAt(usual, 0.51) == 5.0);
}

TEST_CASE("keyframe track: running allocates nothing")
{
    KeyframeTrack track({point(0.0, "#FF0000"), point(1.0, "#0000FF")}, function("linear"));
    track.setRest(QString());
    (void)track.at(0.1);
    const long before = FacetTest::allocations();
    for (int i = 0; i < 10; ++i)
        (void)track.at(i / 10.0);
    CHECK(FacetTest::allocations() == before);
}
