#pragma once

#include "motion/MotionLonghand.hpp"
#include "motion/TimingFunction.hpp"

#include <vector>

namespace Cascara
{
/// One entry of `transition`.
struct Transition
{
    QByteArray attribute; ///< empty: all
    double seconds = 0.0;
    double delaySeconds = 0.0;
    TimingFunction timing;
};

/// What the longhands of `transition` say together: which attributes of a widget do not jump, and how they move.
class TransitionList
{
public:
    /// False, with the reason in `error` and `result` as it was, when one of the values is none.
    [[nodiscard]] static bool read(const MotionValues& values, TransitionList& result, QString& error);

    /// The last entry that is for the attribute; null when there is none, or it takes no time.
    [[nodiscard]] const Transition* find(const QByteArray& attribute) const;
    /// Whether an entry is for the attribute, whatever time it takes.
    [[nodiscard]] bool names(const QByteArray& attribute) const;

private:
    [[nodiscard]] const Transition* entryOf(const QByteArray& attribute) const;

    std::vector<Transition> m_entries;
};
}
