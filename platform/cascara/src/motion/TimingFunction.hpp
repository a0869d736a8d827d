#pragma once

#include <Facet/StyleValue.hpp>

namespace Cascara
{
/// How far a motion has come, in place of the share of its time that has passed.
class TimingFunction
{
public:
    /// `ease`.
    TimingFunction() = default;

    /// Reads the one at `terms[position]` and moves past it. False, and nothing moved, when there is none.
    [[nodiscard]] static bool read(const QVector<Facet::StyleTerm>& terms, int& position, TimingFunction& result);

    /// `share` is 0 to 1; the result may lie outside.
    [[nodiscard]] double at(double share) const;

private:
    struct Bezier
    {
        double x1, y1, x2, y2;
    };
    [[nodiscard]] static TimingFunction bezier(Bezier curve);
    [[nodiscard]] static TimingFunction steps(int count, int jumpsAtStart, int jumps);

    Bezier m_curve{0.25, 0.1, 0.25, 1.0};
    int m_steps = 0; ///< 0: the curve
    int m_startJump = 0;
    int m_jumps = 0;
};
}
