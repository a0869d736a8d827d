#pragma once

#include "ShadowMasks.hpp"

#include <QRgb>

#include <algorithm>
#include <cstddef>
#include <cstdint>

class QTransform;

namespace Lantern
{
/// The places of device pixels in a mask, for a box that it is stretched to. They are whole numbers, so that the steps from pixel
/// to pixel add up to exactly the place of each. As long as the mask. Any thread.
class ShadowPlaces
{
public:
    static constexpr unsigned kFull = ShadowMask::kFull;

    /// `toLocal`: from device pixels to the coordinates of `box`, which throws the shadow.
    ShadowPlaces(const ShadowMask& mask, const QTransform& toLocal, const Vecta::Rect& box);

    /// What the blurred box covers of a pixel, 0..kFull.
    [[nodiscard]] unsigned at(int column, int row) const
    {
        const std::int64_t u = m_across.at(column, row), v = m_along.at(column, row);
        if (std::uint64_t(u) > m_across.end || std::uint64_t(v) > m_along.end)
            return 0;
        const std::int64_t left = std::min(u >> kBits, m_across.last), top = std::min(v >> kBits, m_along.last);
        constexpr int kFractionBits = 8;
        const auto right = unsigned((u - (left << kBits)) >> (kBits - kFractionBits));
        const auto down = unsigned((v - (top << kBits)) >> (kBits - kFractionBits));
        constexpr unsigned kOne = 1u << kFractionBits;
        const std::uint16_t* const first = m_values + top * m_stride + left;
        const std::uint16_t* const second = first + m_stride;
        const unsigned above = first[0] * (kOne - right) + first[1] * right;
        const unsigned below = second[0] * (kOne - right) + second[1] * right;
        return (above * (kOne - down) + below * down) >> (2 * kFractionBits);
    }

    /// Lays the shadow over the columns from `begin` to `end` of a row. `row`: the pixel in column 0; `pixel`: premultiplied,
    /// where the shadow covers everything.
    void draw(QRgb* row, int y, int begin, int end, QRgb pixel) const;
    /// The same values without the processor's wide registers.
    void drawPlainly(QRgb* row, int y, int begin, int end, QRgb pixel) const;

private:
    static constexpr int kBits = 18;

    /// In one direction; distances in 1 / 2^kBits of those between samples.
    struct Axis
    {
        /// From the beginning of the box.
        [[nodiscard]] std::int64_t placeOf(int column, int row) const { return column * perColumn + row * perRow + offset; }
        /// From the first sample. What lies in the middle of a large box is in the middle of the mask's.
        [[nodiscard]] std::int64_t at(int column, int row) const
        {
            const std::int64_t place = placeOf(column, row);
            return reach + (place < half ? std::min(place, maskHalf) : std::max(place - longer, maskHalf));
        }

        std::int64_t perColumn, perRow, offset; ///< of the distance from the beginning of the box
        std::int64_t half, maskHalf;            ///< of the lengths of the box and the mask's
        std::int64_t longer;                    ///< by which the box is longer than the mask's
        std::int64_t reach;                     ///< of the mask around its box
        std::uint64_t end;                      ///< the place of the last sample
        std::int64_t last;                      ///< the number of the sample before it
    };

    struct Wide;

    Axis m_across, m_along;
    const std::uint16_t* m_values;
    std::ptrdiff_t m_stride;
};
}
