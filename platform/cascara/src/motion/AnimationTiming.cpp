#include "motion/AnimationTiming.hpp"

#include <cmath>

namespace Cascara
{
using MotionReading::Direction;
using MotionReading::FillMode;

namespace
{
/// Sums of rounded steps must reach the end in the frame that they are meant to.
constexpr double kToleranceSeconds = 1e-6;
}

double AnimationTiming::activeSeconds() const
{
    return seconds > 0.0 && iterations > 0.0 ? seconds * iterations : 0.0; // not infinity times nothing
}

bool AnimationTiming::hasEnded(double passedSeconds) const
{
    return passedSeconds + kToleranceSeconds >= delaySeconds + activeSeconds();
}

std::optional<double> AnimationTiming::at(double passedSeconds) const
{
    const double since = passedSeconds - delaySeconds;
    if (hasEnded(passedSeconds) && since + kToleranceSeconds >= 0.0) {
        if (fillMode != FillMode::Forwards && fillMode != FillMode::Both)
            return std::nullopt;
        return directed(iterations);
    }
    if (since < 0.0) {
        if (fillMode != FillMode::Backwards && fillMode != FillMode::Both)
            return std::nullopt;
        return directed(0.0);
    }
    return directed(since / seconds);
}

/// `overall` are iterations since the beginning.
double AnimationTiming::directed(double overall) const
{
    double iteration = std::floor(overall);
    double progress = overall - iteration;
    if (std::isinf(overall)) {
        iteration = 0.0; // of those that take no time, the end of the first is as good as that of any other
        progress = 1.0;
    } else if (progress == 0.0 && overall > 0.0 && overall >= iterations) {
        iteration -= 1.0; // the end of the last one, not the beginning of one more
        progress = 1.0;
    }
    const bool isOdd = std::fmod(iteration, 2.0) != 0.0;
    const bool isReversed = direction == Direction::Reverse || (direction == Direction::Alternate && isOdd)
        || (direction == Direction::AlternateReverse && !isOdd);
    return isReversed ? 1.0 - progress : progress;
}
}
