#pragma once

#include "motion/AnimationTiming.hpp"
#include "motion/MotionLonghand.hpp"
#include "motion/TimingFunction.hpp"

#include <vector>

namespace Cascara
{
/// One entry of `animation`.
struct Animation
{
    QString name; ///< of the keyframes
    AnimationTiming timing;
    TimingFunction function; ///< from one keyframe to the next, where a keyframe says nothing else
    bool isPaused = false;
};

/// What the longhands of `animation` say together.
class AnimationList
{
public:
    /// False, with the reason in `error` and `result` as it was, when one of the values is none.
    [[nodiscard]] static bool read(const MotionValues& values, AnimationList& result, QString& error);

    /// In the order of `animation-name`, the last one of them counting most; without those named `none`.
    [[nodiscard]] const std::vector<Animation>& all() const noexcept { return m_entries; }

private:
    std::vector<Animation> m_entries;
};
}
