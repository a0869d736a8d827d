#include "motion/KeyframeTrack.hpp"

#include <algorithm>
#include <utility>

namespace Cascara
{
KeyframeTrack::KeyframeTrack(std::vector<Point> points, const TimingFunction& function)
{
    for (Point& point : points) {
        const auto place = std::lower_bound(m_points.begin(), m_points.end(), point.offset,
                                            [](const Point& other, double offset) { return other.offset < offset; });
        if (place != m_points.end() && place->offset == point.offset)
            *place = std::move(point);
        else
            m_points.insert(place, std::move(point));
    }
    if (m_points.empty() || m_points.front().offset > 0.0)
        m_points.insert(m_points.begin(), {0.0, std::nullopt, function});
    if (m_points.back().offset < 1.0)
        m_points.push_back({1.0, std::nullopt, function});
}

void KeyframeTrack::setRest(const QString& text)
{
    m_mixers.clear();
    for (std::size_t i = 0; i + 1 < m_points.size(); ++i)
        m_mixers.emplace_back(m_points[i].text.value_or(text), m_points[i + 1].text.value_or(text));
}

const Facet::StyleValue& KeyframeTrack::at(double progress)
{
    std::size_t i = 0;
    while (i + 1 < m_mixers.size() && m_points[i + 1].offset <= progress)
        ++i;
    const double from = m_points[i].offset;
    return m_mixers[i].at(m_points[i].function.at((progress - from) / (m_points[i + 1].offset - from)));
}
}
