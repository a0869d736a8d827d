#include "motion/MotionLonghand.hpp"

#include "motion/AnimationList.hpp"
#include "motion/TransitionList.hpp"

#include <algorithm>
#include <iterator>

namespace Cascara
{
namespace
{
const char* const kNames[kMotionLonghandCount] = {
    "transition-property",       "transition-duration", "transition-timing-function",
    "transition-delay",          "animation-name",      "animation-duration",
    "animation-timing-function", "animation-delay",     "animation-iteration-count",
    "animation-direction",       "animation-fill-mode", "animation-play-state",
};
}

int motionLonghand(const QByteArray& name)
{
    const auto found = std::find_if(std::begin(kNames), std::end(kNames), [&](const char* other) { return name == other; });
    return found != std::end(kNames) ? int(found - std::begin(kNames)) : -1;
}

QByteArray motionLonghandName(MotionLonghand longhand)
{
    return kNames[int(longhand)];
}

bool checkMotionValue(MotionLonghand longhand, const Facet::StyleValue& value, QString& error)
{
    MotionValues values{};
    values[std::size_t(longhand)] = &value;
    TransitionList transitions;
    AnimationList animations;
    return longhand < MotionLonghand::AnimationName ? TransitionList::read(values, transitions, error)
                                                    : AnimationList::read(values, animations, error);
}
}
