#include "BoxEdges.hpp"

#include <QRectF>
#include <QTransform>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Lantern
{
namespace
{
/// So near to its full share a pixel counts as not full: its share is then computed.
constexpr double kCareful = 1e-6;
/// Flatter edges cross a row nowhere.
constexpr double kLeastSlope = 1e-9;

int floorOf(double value)
{
    const int whole = int(value);
    return whole - (double(whole) > value ? 1 : 0);
}

int ceilOf(double value)
{
    const int whole = int(value);
    return whole + (double(whole) < value ? 1 : 0);
}
}

BoxEdges::Pair::Pair(double perXOfOne, double perYOfOne, double offsetOfOne, double thickness)
    : isHorizontal(std::abs(perXOfOne) <= kLeastSlope), perX(isHorizontal ? 0.0 : perXOfOne),
      perY(perYOfOne), offset{offsetOfOne, thickness - offsetOfOne}
{
    if (perX < 0.0) {
        perX = -perX;
        perY = -perY;
        std::swap(offset[0], offset[1]);
    }
    if (isHorizontal)
        return;
    columns = 1.0 / perX;
    perRow = -perY * columns;
    touched = {(-0.5 - offset[0]) * columns, (0.5 + offset[1]) * columns};
}

BoxEdges::BoxEdges(const QTransform& t, const QRectF& box)
{
    const auto pair = [](double perX, double perY, double offset, double size) {
        const double length = std::hypot(perX, perY);
        return Pair(perX / length, perY / length, (offset + (perX + perY) / 2.0) / length, size / length);
    };
    m_pairs = {pair(t.m11(), t.m21(), t.dx() - box.left(), box.width()),
               pair(t.m12(), t.m22(), t.dy() - box.top(), box.height())};
}

PixelSpan BoxEdges::span(const QRect& area, int y) const
{
    double begin = area.left(), end = area.right() + 1.0;
    double fullBegin = begin, fullEnd = end;
    for (const Pair& pair : m_pairs) {
        if (pair.isHorizontal) {
            const double inside = std::min(pair.perY * y + pair.offset[0], pair.offset[1] - pair.perY * y);
            if (inside <= -0.5)
                return {};
            if (inside < 0.5)
                fullEnd = fullBegin - 1.0;
            continue;
        }
        const double moved = pair.perRow * y;
        const double first = moved + pair.touched[0], second = moved + pair.touched[1];
        begin = std::max(begin, first);
        fullBegin = std::max(fullBegin, first + pair.columns + kCareful);
        end = std::min(end, second + 1.0);
        fullEnd = std::min(fullEnd, second - pair.columns + 1.0 - kCareful);
    }
    if (!(begin < end))
        return {};
    fullBegin = std::min(fullBegin, end);
    PixelSpan span{floorOf(begin), ceilOf(end), ceilOf(fullBegin), floorOf(std::max(fullEnd, fullBegin))};
    span.fullBegin = std::min(span.fullBegin, span.end);
    span.fullEnd = std::clamp(span.fullEnd, span.fullBegin, span.end);
    return span;
}

EdgeRow BoxEdges::row(int y) const
{
    EdgeRow row;
    for (std::size_t i = 0; i < m_pairs.size(); ++i) {
        const Pair& pair = m_pairs[i];
        const double across = pair.perY * y;
        row.perX[2 * i] = float(pair.perX);
        row.perX[2 * i + 1] = -float(pair.perX);
        // From where a pixel is outside of the edge.
        row.atColumn0[2 * i] = float(pair.offset[0] + across + 0.5);
        row.atColumn0[2 * i + 1] = float(pair.offset[1] - across + 0.5);
    }
    return row;
}

unsigned EdgeRow::coverage(int x) const
{
    std::array<float, 4> inside;
    for (std::size_t i = 0; i < 4; ++i)
        inside[i] = std::min(std::max(perX[i] * float(x) + atColumn0[i], 0.f), 1.f);
    const float across = std::max(0.f, inside[0] + inside[1] - 1.f);
    const float along = std::max(0.f, inside[2] + inside[3] - 1.f);
    return unsigned(int(across * along * 255.f + 0.5f));
}
}
