#pragma once

#include "motion/MotionReading.hpp"

#include <optional>

namespace Cascara
{
/// When an animation is where: all of `animation` but the name and the timing function, which keyframes may change.
struct AnimationTiming
{
    double seconds = 0.0; ///< of one iteration
    double delaySeconds = 0.0;
    double iterations = 1.0; ///< may be infinite
    MotionReading::Direction direction = MotionReading::Direction::Normal;
    MotionReading::FillMode fillMode = MotionReading::FillMode::None;

    /// The share of the keyframes that is reached, 0 to 1, that long after the animation has begun. Nothing before and after it,
    /// unless it fills these times.
    [[nodiscard]] std::optional<double> at(double passedSeconds) const;
    /// Whether it has come to its end by then.
    [[nodiscard]] bool hasEnded(double passedSeconds) const;

private:
    [[nodiscard]] double activeSeconds() const;
    [[nodiscard]] double directed(double overall) const;
};
}
