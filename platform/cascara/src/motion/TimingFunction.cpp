#include "motion/TimingFunction.hpp"

#include "motion/MotionReading.hpp"

#include <algorithm>
#include <cmath>

namespace Cascara
{
using Facet::StyleTerm;
using Kind = Facet::StyleTerm::Kind;

namespace
{
bool isNamed(const StyleTerm& term, const char* name)
{
    return term.text.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
}

/// A coordinate of a curve from 0 to 1 with these two between.
double curveAt(double first, double second, double t)
{
    const double rest = 1.0 - t;
    return 3.0 * rest * rest * t * first + 3.0 * rest * t * t * second + t * t * t;
}

double slopeAt(double first, double second, double t)
{
    const double rest = 1.0 - t;
    return 3.0 * rest * rest * first + 6.0 * rest * t * (second - first) + 3.0 * t * t * (1.0 - second);
}
}

TimingFunction TimingFunction::bezier(Bezier curve)
{
    TimingFunction result;
    result.m_curve = curve;
    return result;
}

TimingFunction TimingFunction::steps(int count, int jumpsAtStart, int jumps)
{
    TimingFunction result;
    result.m_steps = count;
    result.m_startJump = jumpsAtStart;
    result.m_jumps = jumps;
    return result;
}

bool TimingFunction::read(const QVector<StyleTerm>& terms, int& position, TimingFunction& result)
{
    const StyleTerm& term = terms[position];
    if (term.kind == Kind::Ident) {
        struct Named
        {
            const char* name;
            TimingFunction function;
        };
        const Named names[] = {
            {"ease", TimingFunction()},
            {"linear", bezier({0.0, 0.0, 1.0, 1.0})},
            {"ease-in", bezier({0.42, 0.0, 1.0, 1.0})},
            {"ease-out", bezier({0.0, 0.0, 0.58, 1.0})},
            {"ease-in-out", bezier({0.42, 0.0, 0.58, 1.0})},
            {"step-start", steps(1, 1, 1)},
            {"step-end", steps(1, 0, 1)},
        };
        for (const Named& named : names) {
            if (!isNamed(term, named.name))
                continue;
            result = named.function;
            ++position;
            return true;
        }
        return false;
    }
    if (term.kind != Kind::Function)
        return false;
    const int count = int(term.number);
    const auto argument = [&](int i) -> const StyleTerm& { return terms[position + 1 + i]; };
    if (isNamed(term, "cubic-bezier") && count == 7) {
        for (int i = 0; i < count; ++i)
            if (i % 2 == 0 ? argument(i).kind != Kind::Number : !MotionReading::isComma(argument(i)))
                return false;
        const Bezier curve{argument(0).number, argument(2).number, argument(4).number, argument(6).number};
        const bool isFunction = curve.x1 >= 0.0 && curve.x1 <= 1.0 && curve.x2 >= 0.0 && curve.x2 <= 1.0;
        if (!isFunction || !std::isfinite(curve.y1) || !std::isfinite(curve.y2))
            return false;
        result = bezier(curve);
    } else if (isNamed(term, "steps") && (count == 1 || count == 3)) {
        const double number = argument(0).number;
        constexpr double kMostSteps = 1e6;
        if (argument(0).kind != Kind::Number || number != std::floor(number) || number < 1.0 || number > kMostSteps
            || (count == 3 && (!MotionReading::isComma(argument(1)) || argument(2).kind != Kind::Ident)))
            return false;
        const int steps = int(number);
        const auto ends = [&](const char* name) { return count == 3 && isNamed(argument(2), name); };
        if (count == 1 || ends("end") || ends("jump-end"))
            result = TimingFunction::steps(steps, 0, steps);
        else if (ends("start") || ends("jump-start"))
            result = TimingFunction::steps(steps, 1, steps);
        else if (ends("jump-both"))
            result = TimingFunction::steps(steps, 1, steps + 1);
        else if (ends("jump-none") && steps > 1)
            result = TimingFunction::steps(steps, 0, steps - 1);
        else
            return false;
    } else {
        return false;
    }
    position += 1 + count;
    return true;
}

double TimingFunction::at(double share) const
{
    share = std::clamp(share, 0.0, 1.0);
    if (m_steps > 0) {
        const double step = std::min(std::floor(share * m_steps) + m_startJump, double(m_jumps));
        return step / m_jumps;
    }
    if (share <= 0.0 || share >= 1.0 || (m_curve.x1 == m_curve.y1 && m_curve.x2 == m_curve.y2))
        return share;
    // x rises with the parameter: Newton's steps, and halving where they leave the range.
    constexpr double kPrecision = 1e-9;
    double low = 0.0;
    double high = 1.0;
    double t = share;
    for (int i = 0; i < 64; ++i) {
        const double error = curveAt(m_curve.x1, m_curve.x2, t) - share;
        if (std::abs(error) < kPrecision)
            break;
        (error > 0.0 ? high : low) = t;
        const double slope = slopeAt(m_curve.x1, m_curve.x2, t);
        const double next = slope > 0.0 ? t - error / slope : -1.0;
        t = next > low && next < high ? next : (low + high) / 2.0;
    }
    return curveAt(m_curve.y1, m_curve.y2, t);
}
}
