#include "motion/AnimationList.hpp"

namespace Cascara
{
using namespace MotionReading;

namespace
{
/// `value` may be null.
template <class T, class Read>
bool readEntries(const Facet::StyleValue* value, Read read, std::vector<T>& result, const char* expected, QString& error)
{
    if (!value || readList(*value, read, result))
        return true;
    error = QString::fromLatin1(expected);
    return false;
}
}

bool AnimationList::read(const MotionValues& values, AnimationList& result, QString& error)
{
    const auto value = [&](MotionLonghand longhand) { return values[std::size_t(longhand)]; };
    std::vector<QString> names;
    std::vector<double> durations{0.0};
    std::vector<double> delays{0.0};
    std::vector<double> counts{1.0};
    std::vector<TimingFunction> functions{TimingFunction()};
    std::vector<Direction> directions{Direction::Normal};
    std::vector<FillMode> fillModes{FillMode::None};
    std::vector<PlayState> playStates{PlayState::Running};
    if (!readEntries(value(MotionLonghand::AnimationName), readName, names, "expected names of keyframes, or none", error)
        || !readDurations(value(MotionLonghand::AnimationDuration), durations, error)
        || !readTimings(value(MotionLonghand::AnimationTiming), functions, error)
        || !readDelays(value(MotionLonghand::AnimationDelay), delays, error)
        || !readEntries(value(MotionLonghand::AnimationIterationCount), readCount, counts,
                        "expected a number that is not negative, or infinite", error)
        || !readEntries(value(MotionLonghand::AnimationDirection), readDirection, directions,
                        "expected normal, reverse, alternate or alternate-reverse", error)
        || !readEntries(value(MotionLonghand::AnimationFillMode), readFillMode, fillModes,
                        "expected none, forwards, backwards or both", error)
        || !readEntries(value(MotionLonghand::AnimationPlayState), readPlayState, playStates, "expected running or paused",
                        error))
        return false;
    result.m_entries.clear();
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i].isEmpty())
            continue;
        const AnimationTiming timing{cycled(durations, i), cycled(delays, i), cycled(counts, i), cycled(directions, i),
                                     cycled(fillModes, i)};
        result.m_entries.push_back({names[i], timing, cycled(functions, i), cycled(playStates, i) == PlayState::Paused});
    }
    return true;
}
}
