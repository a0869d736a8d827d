#pragma once

#include <Vecta/Vector2T.hpp>

#include <algorithm>

namespace Vecta
{
/// An upright rectangle: top left corner and size, never negative in size when made by its functions.
struct Rect
{
    float x = 0.f;
    float y = 0.f;
    float width = 0.f;
    float height = 0.f;

    [[nodiscard]] float right() const { return x + width; }
    [[nodiscard]] float bottom() const { return y + height; }
    [[nodiscard]] Vector2f center() const { return {x + width / 2, y + height / 2}; }
    [[nodiscard]] bool isEmpty() const { return width <= 0.f || height <= 0.f; }
    /// Left and top edges belong to the rectangle, right and bottom edges do not.
    [[nodiscard]] bool contains(Vector2f p) const { return p.x >= x && p.y >= y && p.x < right() && p.y < bottom(); }
    [[nodiscard]] bool intersects(const Rect& o) const
    {
        return x < o.right() && o.x < right() && y < o.bottom() && o.y < bottom();
    }
    /// Smallest rectangle around both; an empty one counts as nothing.
    [[nodiscard]] Rect united(const Rect& o) const
    {
        if (isEmpty())
            return o;
        if (o.isEmpty())
            return *this;
        const float l = std::min(x, o.x);
        const float t = std::min(y, o.y);
        return {l, t, std::max(right(), o.right()) - l, std::max(bottom(), o.bottom()) - t};
    }
    /// What belongs to both; empty when they do not meet.
    [[nodiscard]] Rect intersected(const Rect& o) const
    {
        const float l = std::max(x, o.x);
        const float t = std::max(y, o.y);
        return {l, t, std::max(0.f, std::min(right(), o.right()) - l), std::max(0.f, std::min(bottom(), o.bottom()) - t)};
    }
    /// The largest rectangle in the middle of this one that has the proportions of `size`; a `size` without area fills it.
    [[nodiscard]] Rect fitting(Vector2f size) const
    {
        if (size.x <= 0.f || size.y <= 0.f)
            return *this;
        const float scale = std::min(width / size.x, height / size.y);
        const Vector2f fitted = size * scale;
        return {x + (width - fitted.x) / 2.f, y + (height - fitted.y) / 2.f, fitted.x, fitted.y};
    }
    friend bool operator==(const Rect& a, const Rect& b)
    {
        return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
    }
    friend bool operator!=(const Rect& a, const Rect& b) { return !(a == b); }
};
}
