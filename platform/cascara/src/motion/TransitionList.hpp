#pragma once

#include "motion/TimingFunction.hpp"

#include <QByteArray>
#include <QString>

#include <vector>

namespace Cascara
{
/// Whether transitions may change the attribute step by step: places, sizes and looks, but no settings.
[[nodiscard]] bool isAnimatable(const QByteArray& attribute);

/// One entry of `transition`.
struct Transition
{
    QByteArray attribute; ///< empty: all
    double seconds = 0.0;
    double delaySeconds = 0.0;
    TimingFunction timing;
};

/// The value of `transition`: which attributes of a widget do not jump, and how they move.
class TransitionList
{
public:
    /// False, with the reason in `error`, when the value is none.
    [[nodiscard]] static bool read(const Facet::StyleValue& value, TransitionList& result, QString& error);

    /// The last entry that is for the attribute; null when there is none, or it takes no time.
    [[nodiscard]] const Transition* find(const QByteArray& attribute) const;

private:
    std::vector<Transition> m_entries;
};
}
