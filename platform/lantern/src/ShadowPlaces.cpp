#include "ShadowPlaces.hpp"

#include <QTransform>

#include <cmath>

namespace Lantern
{
ShadowPlaces::ShadowPlaces(const ShadowMask& mask, const QTransform& toLocal, const Vecta::Rect& box)
    : m_values(mask.values()), m_stride(mask.columns())
{
    // Beyond the limit, that of a box too small to be seen, places lie outside of the mask; sums of them do not overflow.
    const auto fixed = [perUnit = mask.samplesPerUnit()](double units) {
        constexpr double kLimit = double(std::int64_t(1) << 45);
        return std::int64_t(std::llround(std::clamp(units * perUnit * double(1 << kBits), -kLimit, kLimit)));
    };
    const auto axis = [&](double perColumn, double perRow, double offset, double length, double maskLength, int samples) {
        // Counted at the middle of a pixel.
        return Axis{fixed(perColumn),
                    fixed(perRow),
                    fixed(offset + (perColumn + perRow) / 2.0),
                    fixed(length / 2.0),
                    fixed(maskLength / 2.0),
                    fixed(length - maskLength),
                    fixed(mask.reach()),
                    std::uint64_t(samples - 1) << kBits,
                    std::int64_t(samples - 2)};
    };
    m_across = axis(toLocal.m11(), toLocal.m21(), toLocal.dx() - double(box.x), double(box.width), mask.width(), mask.columns());
    m_along = axis(toLocal.m12(), toLocal.m22(), toLocal.dy() - double(box.y), double(box.height), mask.height(), mask.rows());
}
}
