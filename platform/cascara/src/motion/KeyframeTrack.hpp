#pragma once

#include "motion/TimingFunction.hpp"
#include "motion/ValueMixer.hpp"

#include <QString>

#include <optional>
#include <vector>

namespace Cascara
{
/// The way of one attribute through keyframes. Between two of them the value goes as the timing function of the first says.
class KeyframeTrack
{
public:
    struct Point
    {
        double offset = 0.0;         ///< 0 to 1
        std::optional<QString> text; ///< as Facet::Attribute::toText writes it; nothing for the value at rest
        TimingFunction function;
    };

    /// `points` stand in the order in which they are written: of two of one offset the later one counts. Where they do not begin
    /// at 0 or end at 1, the way begins or ends at the value at rest, as `function` says.
    KeyframeTrack(std::vector<Point> points, const TimingFunction& function);

    /// The value without the animation. To be called before `at`.
    void setRest(const QString& text);
    /// `progress` is 0 to 1. Valid until the next call. Allocates nothing.
    [[nodiscard]] const Facet::StyleValue& at(double progress);

private:
    std::vector<Point> m_points;      ///< ascending
    std::vector<ValueMixer> m_mixers; ///< from each of them to the next
};
}
