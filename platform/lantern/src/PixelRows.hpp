#pragma once

#include "PixelSource.hpp"

#include <vector>

class QImage;
class QRegion;

namespace Lantern
{
/// Where the rows of a picture show anything, and where they are opaque: most of a turned picture is one or the other, and
/// needs no blending.
class PixelRows
{
public:
    /// `image` (with premultiplied alpha) changed inside `area`.
    void update(const QImage& image, const QRegion& area);
    /// Of the row `y` of the picture. Full is the longest run of opaque pixels.
    [[nodiscard]] const PixelSpan& row(int y) const { return m_rows[std::size_t(y)]; }

private:
    std::vector<PixelSpan> m_rows;
};
}
