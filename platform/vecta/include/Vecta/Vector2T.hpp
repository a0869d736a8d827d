#pragma once

#include <cmath>

namespace Vecta
{
/// A point or displacement in the plane; x to the right, y downwards. Unit: whatever its user says, usually pixels.
template <class T>
struct Vector2T
{
    T x{};
    T y{};

    constexpr Vector2T() = default;
    constexpr Vector2T(T xValue, T yValue) : x(xValue), y(yValue) {}

    [[nodiscard]] T length() const { return std::sqrt(x * x + y * y); }
    [[nodiscard]] constexpr T lengthSquared() const { return x * x + y * y; }
    /// Turned about the origin by `angleRadians`, from the x axis towards the y axis (clockwise on a screen).
    [[nodiscard]] Vector2T rotated(T angleRadians) const
    {
        const T c = std::cos(angleRadians);
        const T s = std::sin(angleRadians);
        return {x * c - y * s, x * s + y * c};
    }

    constexpr Vector2T& operator+=(const Vector2T& o)
    {
        x += o.x;
        y += o.y;
        return *this;
    }
    constexpr Vector2T& operator-=(const Vector2T& o)
    {
        x -= o.x;
        y -= o.y;
        return *this;
    }
    constexpr Vector2T& operator*=(T f)
    {
        x *= f;
        y *= f;
        return *this;
    }
    friend constexpr Vector2T operator+(Vector2T a, const Vector2T& b) { return a += b; }
    friend constexpr Vector2T operator-(Vector2T a, const Vector2T& b) { return a -= b; }
    friend constexpr Vector2T operator-(const Vector2T& a) { return {-a.x, -a.y}; }
    friend constexpr Vector2T operator*(Vector2T a, T f) { return a *= f; }
    friend constexpr Vector2T operator*(T f, Vector2T a) { return a *= f; }
    friend constexpr Vector2T operator/(const Vector2T& a, T f) { return {a.x / f, a.y / f}; }
    friend constexpr bool operator==(const Vector2T& a, const Vector2T& b) { return a.x == b.x && a.y == b.y; }
    friend constexpr bool operator!=(const Vector2T& a, const Vector2T& b) { return !(a == b); }
};

using Vector2f = Vector2T<float>;

/// Dot product.
template <class T>
[[nodiscard]] constexpr T dot(const Vector2T<T>& a, const Vector2T<T>& b)
{
    return a.x * b.x + a.y * b.y;
}

/// Cross product's third coordinate: positive where `b` is clockwise of `a` on a screen, by less than half a turn.
template <class T>
[[nodiscard]] constexpr T cross(const Vector2T<T>& a, const Vector2T<T>& b)
{
    return a.x * b.y - a.y * b.x;
}
}
