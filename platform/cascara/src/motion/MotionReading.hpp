#pragma once

#include "motion/TimingFunction.hpp"

#include <QByteArray>
#include <QString>

#include <vector>

namespace Cascara
{
// Reading what stands in the values of `transition` and `animation`. Each function reads what is at `terms[position]` and moves
// past it; it returns false, and moves nothing, when that is something else. `position` lies within the terms.

namespace MotionReading
{
using Terms = QVector<Facet::StyleTerm>;

enum class Direction { Normal, Reverse, Alternate, AlternateReverse };
enum class FillMode { None, Forwards, Backwards, Both };
enum class PlayState { Running, Paused };

/// Seconds, at most a million of them. `leastSeconds` is 0 where time cannot be negative.
[[nodiscard]] bool readTime(const Terms& terms, int& position, double leastSeconds, double& result);
/// `infinite` is infinity.
[[nodiscard]] bool readCount(const Terms& terms, int& position, double& result);
/// Empty for `all`. The name need not be that of an attribute.
[[nodiscard]] bool readProperty(const Terms& terms, int& position, QByteArray& result);
/// Of keyframes; empty for `none`.
[[nodiscard]] bool readName(const Terms& terms, int& position, QString& result);
[[nodiscard]] bool readDirection(const Terms& terms, int& position, Direction& result);
[[nodiscard]] bool readFillMode(const Terms& terms, int& position, FillMode& result);
[[nodiscard]] bool readPlayState(const Terms& terms, int& position, PlayState& result);
[[nodiscard]] bool isWord(const Facet::StyleTerm& term, const char* word);
[[nodiscard]] bool isComma(const Facet::StyleTerm& term);

constexpr double kMostSeconds = 1e6;

// Lists of the longhands that transitions and animations have in common. `value` may be null: then `result` stays as it is.
// False, with the reason in `error`, when the value is none.
[[nodiscard]] bool readDurations(const Facet::StyleValue* value, std::vector<double>& result, QString& error);
[[nodiscard]] bool readDelays(const Facet::StyleValue* value, std::vector<double>& result, QString& error);
[[nodiscard]] bool readTimings(const Facet::StyleValue* value, std::vector<TimingFunction>& result, QString& error);

/// The entries of a list with commas. False when one of them is none.
template <class T, class Read>
[[nodiscard]] bool readList(const Facet::StyleValue& value, Read readEntry, std::vector<T>& result)
{
    const Terms& terms = value.terms;
    result.clear();
    for (int position = 0; position < terms.size(); ++position) {
        T entry{};
        if (!readEntry(terms, position, entry))
            return false;
        result.push_back(entry);
        if (position == terms.size())
            return true;
        if (!isComma(terms[position]))
            return false;
    }
    return false;
}

/// The entry of a list that counts for the thing at `index`: lists that are too short begin again.
template <class T>
[[nodiscard]] const T& cycled(const std::vector<T>& list, std::size_t index)
{
    return list[index % list.size()];
}
}
}
