#include "ShadowMasks.hpp"

#include "RoundBoxCoverage.hpp"

#include <Lantern/BoxShadow.hpp>

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
/// A wider blur needs no more samples: between two of them it is as good as straight.
constexpr double kMostSigmaSamples = 6.0;
/// A sharper one needs more than one a pixel.
constexpr double kMostSamplesPerUnit = 3.0;
constexpr double kMostSide = 1500.0;

double reachOf(float blurPx)
{
    return 1.5 * double(blurPx);
}
}

ShadowMask::Key ShadowMask::keyOf(const RoundBox& box, float blurPx)
{
    const float large = 2.f * std::ceil(box.largestRadius() + float(reachOf(blurPx)) + 1.f);
    return {{std::min(std::ceil(box.rect.width), large), std::min(std::ceil(box.rect.height), large)}, box.corners, blurPx};
}

ShadowMask::ShadowMask(const Key& key) : m_width(double(key.size.x)), m_height(double(key.size.y)), m_reach(reachOf(key.blurPx))
{
    const double sigma = double(key.blurPx) / 2.0;
    const double side = std::max(m_width, m_height) + 2.0 * m_reach;
    m_samplesPerUnit = std::min({kMostSamplesPerUnit, kMostSigmaSamples / sigma, kMostSide / side});
    m_columns = int(std::ceil((m_width + 2.0 * m_reach) * m_samplesPerUnit)) + 2;
    m_rows = int(std::ceil((m_height + 2.0 * m_reach) * m_samplesPerUnit)) + 2;
    const RoundBoxCoverage box(RoundBox{{0.f, 0.f, key.size.x, key.size.y}, key.corners}.fitted(), m_samplesPerUnit);
    std::vector<float> values(std::size_t(m_columns) * std::size_t(m_rows));
    for (int row = 0; row < m_rows; ++row)
        for (int column = 0; column < m_columns; ++column)
            values[std::size_t(row) * std::size_t(m_columns) + std::size_t(column)] =
                float(box.at(column / m_samplesPerUnit - m_reach, row / m_samplesPerUnit - m_reach));
    // The samples are as wide as their distance, and what lies between is mixed, which blurs a little, too.
    const double inSamples = std::sqrt(std::max(0.01, sigma * sigma * m_samplesPerUnit * m_samplesPerUnit - 1.0 / 4.0));
    blurRows(values, inSamples);
    std::vector<float> turned(values.size());
    const auto turn = [](const std::vector<float>& from, std::vector<float>& to, int columns, int rows) {
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column)
                to[std::size_t(column) * std::size_t(rows) + std::size_t(row)] =
                    from[std::size_t(row) * std::size_t(columns) + std::size_t(column)];
    };
    turn(values, turned, m_columns, m_rows);
    std::swap(m_columns, m_rows);
    blurRows(turned, inSamples);
    turn(turned, values, m_columns, m_rows);
    std::swap(m_columns, m_rows);
    m_values.reserve(values.size());
    for (const float value : values)
        m_values.push_back(std::uint16_t(std::clamp(double(value), 0.0, 1.0) * double(kFull) + 0.5));
}

void ShadowMask::blurRows(std::vector<float>& values, double sigma)
{
    const int radius = int(std::ceil(3.0 * sigma));
    std::vector<float> weights(std::size_t(2 * radius + 1));
    double sum = 0.0;
    for (int i = -radius; i <= radius; ++i)
        sum += std::exp(-double(i) * i / (2.0 * sigma * sigma));
    for (int i = -radius; i <= radius; ++i)
        weights[std::size_t(i + radius)] = float(std::exp(-double(i) * i / (2.0 * sigma * sigma)) / sum);
    std::vector<float> row(std::size_t(m_columns + 2 * radius), 0.f); // nothing lies beyond the ends
    for (int y = 0; y < m_rows; ++y) {
        float* const first = values.data() + std::size_t(y) * std::size_t(m_columns);
        std::copy(first, first + m_columns, row.begin() + radius);
        // Weight by weight, so that the compiler adds several columns at once.
        std::fill(first, first + m_columns, 0.f);
        for (std::size_t i = 0; i < weights.size(); ++i) {
            const float weight = weights[i];
            const float* const shifted = row.data() + i;
            for (int x = 0; x < m_columns; ++x)
                first[x] += weight * shifted[x];
        }
    }
}

ShadowMasks& ShadowMasks::instance()
{
    static ShadowMasks masks;
    return masks;
}

std::shared_ptr<const ShadowMask> ShadowMasks::mask(const RoundBox& box, float blurPx)
{
    const ShadowMask::Key key = ShadowMask::keyOf(box, blurPx);
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&key](const Entry& entry) { return entry.key == key; });
    if (found != m_entries.end()) {
        std::rotate(found, found + 1, m_entries.end());
        return m_entries.back().mask;
    }
    ++m_built;
    m_entries.push_back({key, std::make_shared<const ShadowMask>(key)});
    m_bytes += m_entries.back().mask->bytes();
    while (m_bytes > m_mostBytes && m_entries.size() > 1) {
        m_bytes -= m_entries.front().mask->bytes();
        m_entries.erase(m_entries.begin());
    }
    return m_entries.back().mask;
}

std::size_t KeptShadows::count()
{
    return ShadowMasks::instance().count();
}

long KeptShadows::built()
{
    return ShadowMasks::instance().built();
}
}
