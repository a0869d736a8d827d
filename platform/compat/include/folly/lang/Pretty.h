#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace folly
{
namespace detail
{
// The return type must not be spelled by an alias, which the compiler would explain inside the text.
template <class T>
constexpr auto prettyFunction()
{
    return static_cast<const char*>(__PRETTY_FUNCTION__);
}

template <class T>
constexpr auto prettyRange()
{
    // "constexpr auto folly::detail::prettyFunction() [with T = QString]"; clang writes "[T = QString]".
    constexpr std::string_view text = prettyFunction<T>();
    constexpr std::size_t begin = text.find("T = ") + 4;
    return text.substr(begin, text.rfind(']') - begin);
}

template <class T>
struct PrettyName
{
    static constexpr auto make()
    {
        std::array<char, prettyRange<T>().size() + 1> name{};
        for (std::size_t i = 0; i + 1 < name.size(); ++i)
            name[i] = prettyRange<T>()[i];
        return name;
    }
    static constexpr auto kName = make();
};
}

/// The name of a type as source code has it, for messages. Lives as long as the code that asked.
template <class T>
constexpr const char* pretty_name()
{
    return detail::PrettyName<T>::kName.data();
}
}
