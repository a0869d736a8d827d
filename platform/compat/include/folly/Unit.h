#pragma once

#include <folly/CPortability.h>

#include <type_traits>

namespace folly
{
/// The value of a future that carries none: stands for void.
struct FOLLY_EXPORT Unit
{
    constexpr bool operator==(const Unit&) const noexcept { return true; }
    constexpr bool operator!=(const Unit&) const noexcept { return false; }
};

inline constexpr Unit unit{};

/// Unit for void, any other type as it is.
template <class T>
using lift_unit_t = std::conditional_t<std::is_void_v<T>, Unit, T>;
}
