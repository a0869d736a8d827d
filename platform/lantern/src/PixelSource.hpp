#pragma once

#include <QRect>
#include <QRgb>

namespace Lantern
{
/// Columns of one row in which something draws: from `begin` to `end`, and between `fullBegin` and `fullEnd` all of each pixel.
/// Half-open; empty where the end is not after the beginning.
struct PixelSpan
{
    int begin = 0, end = 0;
    int fullBegin = 0, fullEnd = 0;
};

/// A drawing whose pixels can be computed row by row and in parts, in any order and on any thread, always to the same values.
class PixelSource
{
public:
    virtual ~PixelSource() = default;

    /// Device pixels outside of which it draws nothing.
    [[nodiscard]] const QRect& area() const noexcept { return m_area; }
    /// Nothing below shows where its span is full.
    [[nodiscard]] bool isSolid() const noexcept { return m_isSolid; }
    /// Whether nothing below shows in any pixel of `rect`. False where finding out takes long.
    [[nodiscard]] bool hides(const QRect& rect) const
    {
        if (!m_isSolid || m_between == Between::Unknown || !m_area.contains(rect) || !hidesRow(rect, rect.top())
            || !hidesRow(rect, rect.bottom()))
            return false;
        for (int y = rect.top() + 1; m_between == Between::Listed && y < rect.bottom(); ++y)
            if (!hidesRow(rect, y))
                return false;
        return true;
    }
    /// For a row of the area; may reach beyond the area's columns.
    [[nodiscard]] virtual PixelSpan span(int y) const = 0;
    /// Draws the columns from `begin` to `end`, which are inside the area and inside `span`, that of the row. `row`: the pixel in
    /// column 0.
    virtual void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const = 0;

protected:
    explicit PixelSource(const QRect& area) : m_area(area) {}
    PixelSource(const PixelSource&) = default;
    PixelSource& operator=(const PixelSource&) = default;

    QRect m_area;
    bool m_isSolid = false;
    /// What is known of the rows between two whose spans are full in some columns.
    enum class Between {
        Unknown,
        Convex, ///< they are full in the same columns
        Listed  ///< nothing, but to ask for a span takes no time
    };
    Between m_between = Between::Unknown;

private:
    [[nodiscard]] bool hidesRow(const QRect& rect, int y) const
    {
        const PixelSpan inRow = span(y);
        return inRow.fullBegin <= rect.left() && rect.right() < inRow.fullEnd;
    }
};
}
