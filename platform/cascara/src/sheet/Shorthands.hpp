#pragma once

#include "motion/MotionShorthand.hpp"
#include "values/Shorthand.hpp"

#include <vector>

namespace Cascara
{
// All names that stand for several others: those of looks and those of motion.

[[nodiscard]] inline bool isShorthand(const QByteArray& name)
{
    return Shorthand::isShorthand(name) || MotionShorthand::isShorthand(name);
}

/// What it stands for.
[[nodiscard]] inline std::vector<QByteArray> shorthandAttributes(const QByteArray& name)
{
    return MotionShorthand::isShorthand(name) ? MotionShorthand::attributes(name) : Shorthand::attributes(name);
}

/// As Shorthand::expand.
[[nodiscard]] inline bool expandShorthand(const QByteArray& name, const Facet::StyleValue& value,
                                          std::vector<Shorthand::Part>& parts, QString& error)
{
    return MotionShorthand::isShorthand(name) ? MotionShorthand::expand(name, value, parts, error)
                                              : Shorthand::expand(name, value, parts, error);
}
}
