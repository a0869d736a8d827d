#pragma once

#include <Lantern/RoundBox.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Lantern
{
/// What a blurred box covers, sampled on a grid. A box that is larger than the blur and the corners need has the pixels of a
/// smaller one with its middle stretched (ShadowPlaces), so that boxes of many sizes share a mask. Immutable; any thread.
class ShadowMask
{
public:
    /// Which boxes share one.
    struct Key
    {
        Vecta::Vector2f size; ///< of a box that is large enough, or of exactly that small box, in whole units
        Corners corners;
        float blurPx = 0.f;
        friend bool operator==(const Key& a, const Key& b)
        {
            return a.size == b.size && a.corners == b.corners && a.blurPx == b.blurPx;
        }
    };
    /// `blurPx`: more than 0.
    [[nodiscard]] static Key keyOf(const RoundBox& box, float blurPx);

    explicit ShadowMask(const Key& key);
    // For ShadowPlaces: the samples row by row, each 0..kFull.
    static constexpr unsigned kFull = 65535;
    [[nodiscard]] const std::uint16_t* values() const noexcept { return m_values.data(); }
    [[nodiscard]] int columns() const noexcept { return m_columns; }
    [[nodiscard]] int rows() const noexcept { return m_rows; }
    [[nodiscard]] double samplesPerUnit() const noexcept { return m_samplesPerUnit; }
    [[nodiscard]] double width() const noexcept { return m_width; }
    [[nodiscard]] double height() const noexcept { return m_height; }
    [[nodiscard]] double reach() const noexcept { return m_reach; }
    [[nodiscard]] std::size_t bytes() const noexcept { return m_values.size() * sizeof(std::uint16_t); }

private:
    void blurRows(std::vector<float>& values, double sigma);

    double m_width, m_height; ///< of the box
    double m_reach;           ///< units around the box
    double m_samplesPerUnit;
    int m_columns, m_rows;
    std::vector<std::uint16_t> m_values;
};

/// The masks that were used last, up to a number of bytes (one at the least). Main thread only.
class ShadowMasks
{
public:
    [[nodiscard]] static ShadowMasks& instance();
    explicit ShadowMasks(std::size_t mostBytes = kMostBytes) : m_mostBytes(mostBytes) {}

    [[nodiscard]] std::shared_ptr<const ShadowMask> mask(const RoundBox& box, float blurPx);
    [[nodiscard]] std::size_t count() const noexcept { return m_entries.size(); }
    /// How many were computed since the process began.
    [[nodiscard]] long built() const noexcept { return m_built; }

    static constexpr std::size_t kMostBytes = std::size_t(16) << 20;

private:
    struct Entry
    {
        ShadowMask::Key key;
        std::shared_ptr<const ShadowMask> mask;
    };
    std::size_t m_mostBytes;
    std::vector<Entry> m_entries; ///< the last use at the end
    std::size_t m_bytes = 0;
    long m_built = 0;
};
}
