#pragma once

#include <Facet/StyleValue.hpp>

#include <QByteArray>
#include <QString>

#include <array>

namespace Cascara
{
/// What style sheets say of motion, one by one. These are no attributes of a node: the style engine reads them itself.
enum class MotionLonghand {
    TransitionProperty,
    TransitionDuration,
    TransitionTiming,
    TransitionDelay,
    AnimationName,
    AnimationDuration,
    AnimationTiming,
    AnimationDelay,
    AnimationIterationCount,
    AnimationDirection,
    AnimationFillMode,
    AnimationPlayState
};
constexpr int kMotionLonghandCount = 12;

/// The one of that name as a number, -1 for none.
[[nodiscard]] int motionLonghand(const QByteArray& name);
[[nodiscard]] QByteArray motionLonghandName(MotionLonghand longhand);
/// False, with the reason in `error`, for a value that is none of it.
[[nodiscard]] bool checkMotionValue(MotionLonghand longhand, const Facet::StyleValue& value, QString& error);

/// A value for each of them; null for one of which nothing is said.
using MotionValues = std::array<const Facet::StyleValue*, kMotionLonghandCount>;
}
