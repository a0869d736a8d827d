#pragma once

namespace folly
{
/// Names types in a call: `thenError(folly::tag_t<std::runtime_error>{}, handler)`.
template <class... Types>
struct tag_t
{
};

template <class... Types>
inline constexpr tag_t<Types...> tag{};
}
