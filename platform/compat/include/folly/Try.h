#pragma once

#include <folly/ExceptionWrapper.h>
#include <folly/Unit.h>

#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

namespace folly
{
class FOLLY_EXPORT TryException : public std::logic_error
{
public:
    using std::logic_error::logic_error;
};

class FOLLY_EXPORT UsingUninitializedTry : public TryException
{
public:
    UsingUninitializedTry() : TryException("Using uninitialized try") {}
};

/// The outcome of an operation: a value or an exception. One made by default is neither until it is assigned.
template <class T>
class Try
{
public:
    using element_type = T;

    Try() noexcept = default;
    explicit Try(const T& value) : m_state(std::in_place_index<1>, value) {}
    explicit Try(T&& value) : m_state(std::in_place_index<1>, std::move(value)) {}
    explicit Try(exception_wrapper exception) noexcept : m_state(std::in_place_index<2>, std::move(exception)) {}

    [[nodiscard]] bool hasValue() const noexcept { return m_state.index() == 1; }
    [[nodiscard]] bool hasException() const noexcept { return m_state.index() == 2; }
    template <class Ex>
    [[nodiscard]] bool hasException() const noexcept
    {
        return hasException() && exception().template is_compatible_with<Ex>();
    }

    /// The value; throws the exception if there is that instead.
    T& value() &
    {
        throwUnlessValue();
        return std::get<1>(m_state);
    }
    const T& value() const&
    {
        throwUnlessValue();
        return std::get<1>(m_state);
    }
    T&& value() &&
    {
        throwUnlessValue();
        return std::get<1>(std::move(m_state));
    }

    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }
    T&& operator*() && { return std::move(*this).value(); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    void throwUnlessValue() const
    {
        if (hasException())
            exception().throw_exception();
        if (!hasValue())
            throw UsingUninitializedTry();
    }

    /// The exception; throws TryException if there is none.
    exception_wrapper& exception() &
    {
        requireException();
        return std::get<2>(m_state);
    }
    const exception_wrapper& exception() const&
    {
        requireException();
        return std::get<2>(m_state);
    }
    exception_wrapper&& exception() &&
    {
        requireException();
        return std::get<2>(std::move(m_state));
    }

    /// The exception when it is an Ex, else null.
    template <class Ex>
    [[nodiscard]] const Ex* tryGetExceptionObject() const noexcept
    {
        const auto* wrapper = std::get_if<2>(&m_state);
        return wrapper ? wrapper->template get_exception<Ex>() : nullptr;
    }
    template <class Ex>
    [[nodiscard]] Ex* tryGetExceptionObject() noexcept
    {
        auto* wrapper = std::get_if<2>(&m_state);
        return wrapper ? wrapper->template get_exception<Ex>() : nullptr;
    }

private:
    void requireException() const
    {
        if (!hasException())
            throw TryException("exception(): Try does not contain an exception");
    }

    std::variant<std::monostate, T, exception_wrapper> m_state;
};

namespace detail
{
/// Calls `function` and catches what it gives: void becomes Unit, an exception becomes a failed Try.
template <class F, class... Args>
auto tryCall(F&& function, Args&&... args) noexcept -> Try<lift_unit_t<std::invoke_result_t<F, Args...>>>
{
    using Result = lift_unit_t<std::invoke_result_t<F, Args...>>;
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<F, Args...>>) {
            std::forward<F>(function)(std::forward<Args>(args)...);
            return Try<Result>(Unit{});
        } else {
            return Try<Result>(std::forward<F>(function)(std::forward<Args>(args)...));
        }
    } catch (...) {
        return Try<Result>(exception_wrapper(std::current_exception()));
    }
}
}

/// The outcome of `function()`, which returns a value.
template <class F, class = std::enable_if_t<!std::is_void_v<std::invoke_result_t<F>>>>
[[nodiscard]] auto makeTryWith(F&& function) noexcept
{
    return detail::tryCall(std::forward<F>(function));
}
}
