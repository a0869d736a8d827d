#include "BoxEdges.hpp"

#include <QRectF>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
/// Columns at which an edge is crossed; beyond that they are of no interest.
constexpr double kFar = 1e8;
/// So near to its full share a pixel counts as not full: its share is then computed.
constexpr double kCareful = 1e-6;

double clampedColumn(double x)
{
    return std::clamp(x, -kFar, kFar);
}
}

BoxEdges::BoxEdges(const QTransform& t, const QRectF& box)
{
    const auto edge = [](double perX, double perY, double offset) {
        const double length = std::hypot(perX, perY);
        Edge result{perX / length, perY / length, (offset + (perX + perY) / 2.0) / length, 0.0};
        if (std::abs(result.perX) > 1e-9)
            result.columns = 1.0 / result.perX;
        else
            result.perX = 0.0;
        return result;
    };
    m_edges = {edge(t.m11(), t.m21(), t.dx() - box.left()), edge(-t.m11(), -t.m21(), box.right() - t.dx()),
               edge(t.m12(), t.m22(), t.dy() - box.top()), edge(-t.m12(), -t.m22(), box.bottom() - t.dy())};
}

PixelSpan BoxEdges::span(const QRect& area, int y) const
{
    double begin = area.left(), end = area.right() + 1.0;
    double fullBegin = begin, fullEnd = end;
    for (const Edge& edge : m_edges) {
        const double atColumn0 = edge.perY * y + edge.offset;
        if (edge.columns == 0.0) {
            if (atColumn0 <= -0.5)
                return {};
            if (atColumn0 < 0.5)
                fullEnd = fullBegin - 1.0;
            continue;
        }
        const double touched = clampedColumn((-0.5 - atColumn0) * edge.columns);
        const double full = clampedColumn((0.5 - atColumn0) * edge.columns);
        if (edge.columns > 0.0) {
            begin = std::max(begin, touched);
            fullBegin = std::max(fullBegin, full + kCareful);
        } else {
            end = std::min(end, touched + 1.0);
            fullEnd = std::min(fullEnd, full + 1.0 - kCareful);
        }
    }
    if (begin >= end)
        return {};
    PixelSpan span{int(std::floor(begin)), int(std::ceil(end)), int(std::ceil(fullBegin)), int(std::floor(fullEnd))};
    span.fullBegin = std::clamp(span.fullBegin, span.begin, span.end);
    span.fullEnd = std::clamp(span.fullEnd, span.fullBegin, span.end);
    return span;
}

BoxEdges::Row::Row(const BoxEdges& edges, int y)
{
    for (std::size_t i = 0; i < 4; ++i) {
        m_perX[i] = edges.m_edges[i].perX;
        // From where a pixel is outside of the edge.
        m_atColumn0[i] = edges.m_edges[i].perY * y + edges.m_edges[i].offset + 0.5;
    }
}

unsigned BoxEdges::Row::coverage(int x) const
{
    std::array<double, 4> inside;
    for (std::size_t i = 0; i < 4; ++i)
        inside[i] = std::min(std::max(m_perX[i] * x + m_atColumn0[i], 0.0), 1.0);
    const double across = std::max(0.0, inside[0] + inside[1] - 1.0);
    const double along = std::max(0.0, inside[2] + inside[3] - 1.0);
    return unsigned(int(across * along * 255.0 + 0.5));
}
}
