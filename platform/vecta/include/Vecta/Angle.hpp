#pragma once

#include <cmath>

namespace Vecta
{
/// Angles are radians, clockwise on the screen (from the x axis towards the y axis), unless a name says otherwise.
template <class T>
constexpr T kPiOf = T(3.141592653589793238462643383279502884L);
constexpr double kPi = kPiOf<double>;
/// A full turn.
constexpr double kTwoPi = 2.0 * kPi;

template <class T>
[[nodiscard]] constexpr T degreesToRadians(T degrees) noexcept
{
    return degrees * kPiOf<T> / T(180);
}

template <class T>
[[nodiscard]] constexpr T radiansToDegrees(T radians) noexcept
{
    return radians * T(180) / kPiOf<T>;
}

/// The same direction as an angle from 0 up to, but not including, a full turn. Not a number where the angle is not finite.
template <class T>
[[nodiscard]] T wrappedAngle(T radians) noexcept
{
    constexpr T kTurn = T(2) * kPiOf<T>;
    const T rest = std::fmod(radians, kTurn);
    const T wrapped = rest < T(0) ? rest + kTurn : rest;
    // A tiny negative angle is rounded up to the full turn.
    return wrapped == kTurn ? T(0) : wrapped;
}

/// What must be added to `from` to point where `to` points, by the shorter way: from -π to π.
template <class T>
[[nodiscard]] T shortestTurn(T from, T to) noexcept
{
    return std::remainder(to - from, T(2) * kPiOf<T>);
}
}
