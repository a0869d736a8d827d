#include "motion/AnimationTiming.hpp"

#include <doctest/doctest.h>

#include <limits>
#include <string>

using Cascara::AnimationTiming;
using Cascara::MotionReading::Direction;
using Cascara::MotionReading::FillMode;

namespace
{
constexpr double kNothing = -1.0;
const double kForEver = std::numeric_limits<double>::infinity();
}

TEST_CASE("animation timing: delay, iterations, direction and fill mode give the share of the keyframes")
{
    struct Row
    {
        const char* what;
        AnimationTiming timing;
        double seconds;
        double share; ///< kNothing where the animation says nothing
        bool hasEnded;
    };
    const auto timing = [](double seconds, double delay, double iterations, Direction direction, FillMode fill) {
        return AnimationTiming{seconds, delay, iterations, direction, fill};
    };
    const Row rows[] = {
        {"begins at once", timing(2, 0, 1, Direction::Normal, FillMode::None), 0.0, 0.0, false},
        {"a quarter", timing(2, 0, 1, Direction::Normal, FillMode::None), 0.5, 0.25, false},
        {"its end is behind it", timing(2, 0, 1, Direction::Normal, FillMode::None), 2.0, kNothing, true},
        {"rounded steps reach the end", timing(2, 0, 1, Direction::Normal, FillMode::None), 1.9999999, kNothing, true},
        {"forwards keeps the end", timing(2, 0, 1, Direction::Normal, FillMode::Forwards), 9.0, 1.0, true},
        {"both keeps the end", timing(2, 0, 1, Direction::Normal, FillMode::Both), 2.0, 1.0, true},
        {"backwards keeps no end", timing(2, 0, 1, Direction::Normal, FillMode::Backwards), 2.0, kNothing, true},
        {"a delay waits", timing(2, 1, 1, Direction::Normal, FillMode::None), 0.5, kNothing, false},
        {"backwards begins in the delay", timing(2, 1, 1, Direction::Normal, FillMode::Backwards), 0.5, 0.0, false},
        {"both begins in the delay", timing(2, 1, 1, Direction::Reverse, FillMode::Both), 0.5, 1.0, false},
        {"forwards does not", timing(2, 1, 1, Direction::Normal, FillMode::Forwards), 0.5, kNothing, false},
        {"after the delay", timing(2, 1, 1, Direction::Normal, FillMode::None), 2.0, 0.5, false},
        {"a negative delay is on the way", timing(2, -1, 1, Direction::Normal, FillMode::None), 0.0, 0.5, false},
        {"a negative delay beyond the end", timing(2, -3, 1, Direction::Normal, FillMode::Forwards), 0.0, 1.0, true},
        {"the second iteration", timing(2, 0, 3, Direction::Normal, FillMode::None), 2.5, 0.25, false},
        {"an iteration begins anew", timing(2, 0, 3, Direction::Normal, FillMode::None), 2.0, 0.0, false},
        {"the end of the last iteration", timing(2, 0, 3, Direction::Normal, FillMode::Forwards), 6.0, 1.0, true},
        {"half an iteration", timing(2, 0, 1.5, Direction::Normal, FillMode::Forwards), 4.0, 0.5, true},
        {"no iteration", timing(2, 0, 0, Direction::Normal, FillMode::Forwards), 0.0, 0.0, true},
        {"backwards through the keyframes", timing(2, 0, 1, Direction::Reverse, FillMode::None), 0.5, 0.75, false},
        {"there", timing(2, 0, 4, Direction::Alternate, FillMode::None), 0.5, 0.25, false},
        {"and back", timing(2, 0, 4, Direction::Alternate, FillMode::None), 2.5, 0.75, false},
        {"back", timing(2, 0, 4, Direction::AlternateReverse, FillMode::None), 0.5, 0.75, false},
        {"and there", timing(2, 0, 4, Direction::AlternateReverse, FillMode::None), 2.5, 0.25, false},
        {"the end of the way back", timing(2, 0, 2, Direction::Alternate, FillMode::Forwards), 4.0, 0.0, true},
        {"for ever", timing(2, 0, kForEver, Direction::Normal, FillMode::None), 4001.0, 0.5, false},
        {"no time", timing(0, 0, 1, Direction::Normal, FillMode::Forwards), 0.0, 1.0, true},
        {"rounded steps reach the end of no time", timing(0, 1, 1, Direction::Normal, FillMode::Forwards), 0.9999999, 1.0, true},
        {"no time leaves nothing", timing(0, 0, 1, Direction::Normal, FillMode::None), 0.0, kNothing, true},
        {"no time for ever", timing(0, 0, kForEver, Direction::Normal, FillMode::Forwards), 0.0, 1.0, true},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.what));
        const auto share = row.timing.at(row.seconds);
        CHECK(share.value_or(kNothing) == doctest::Approx(row.share));
        CHECK(row.timing.hasEnded(row.seconds) == row.hasEnded);
    }
}
