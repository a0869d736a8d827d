#include "motion/TransitionList.hpp"

#include "motion/Animatable.hpp"
#include "motion/MotionReading.hpp"

#include <algorithm>

namespace Cascara
{
using namespace MotionReading;

namespace
{
const Facet::StyleValue* valueOf(const MotionValues& values, MotionLonghand longhand)
{
    return values[std::size_t(longhand)];
}

bool readProperties(const Facet::StyleValue* value, std::vector<QByteArray>& result, QString& error)
{
    result = {QByteArray()};
    if (!value)
        return true;
    if (value->terms.size() == 1 && isWord(value->terms.first(), "none")) {
        result.clear();
        return true;
    }
    if (!readList(*value, readProperty, result)) {
        error = QStringLiteral("expected attributes, all or none");
        return false;
    }
    for (const QByteArray& name : result) {
        if (name.isEmpty() || isAnimatable(name))
            continue;
        const QString written = QString::fromUtf8(name);
        error = QStringLiteral("'%1' takes no part in transitions%2").arg(written, nearestAnimatable(written));
        return false;
    }
    return true;
}
}

bool TransitionList::read(const MotionValues& values, TransitionList& result, QString& error)
{
    std::vector<QByteArray> properties;
    std::vector<double> durations{0.0};
    std::vector<double> delays{0.0};
    std::vector<TimingFunction> timings{TimingFunction()};
    if (!readProperties(valueOf(values, MotionLonghand::TransitionProperty), properties, error)
        || !readDurations(valueOf(values, MotionLonghand::TransitionDuration), durations, error)
        || !readTimings(valueOf(values, MotionLonghand::TransitionTiming), timings, error)
        || !readDelays(valueOf(values, MotionLonghand::TransitionDelay), delays, error))
        return false;
    result.m_entries.clear();
    for (std::size_t i = 0; i < properties.size(); ++i)
        result.m_entries.push_back({properties[i], cycled(durations, i), cycled(delays, i), cycled(timings, i)});
    return true;
}

const Transition* TransitionList::entryOf(const QByteArray& attribute) const
{
    const auto found = std::find_if(m_entries.rbegin(), m_entries.rend(), [&](const Transition& entry) {
        return entry.attribute == attribute || entry.attribute.isEmpty();
    });
    return found != m_entries.rend() && isAnimatable(attribute) ? &*found : nullptr;
}

const Transition* TransitionList::find(const QByteArray& attribute) const
{
    const Transition* const entry = entryOf(attribute);
    return entry && entry->seconds + entry->delaySeconds > 0.0 ? entry : nullptr;
}

bool TransitionList::names(const QByteArray& attribute) const
{
    return entryOf(attribute) != nullptr;
}
}
