#pragma once

#include <folly/CPortability.h>

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace folly
{
/// An exception as a value, which can be copied and inspected without being thrown. Empty when made by default.
class FOLLY_EXPORT exception_wrapper
{
public:
    exception_wrapper() noexcept = default;
    explicit exception_wrapper(std::exception_ptr exception) noexcept : m_exception(std::move(exception)) {}
    /// Holds a copy of `exception`, by its static type.
    template <class Ex, class = std::enable_if_t<std::is_base_of_v<std::exception, std::decay_t<Ex>>>>
    exception_wrapper(Ex&& exception) : m_exception(std::make_exception_ptr(std::forward<Ex>(exception)))
    {
    }

    explicit operator bool() const noexcept { return m_exception != nullptr; }
    [[nodiscard]] bool has_exception_ptr() const noexcept { return m_exception != nullptr; }
    [[nodiscard]] std::exception_ptr to_exception_ptr() const noexcept { return m_exception; }

    /// The exception when it is an Ex, else null. Lives as long as a wrapper holds it.
    template <class Ex>
    [[nodiscard]] Ex* get_exception() noexcept
    {
        return find<Ex>();
    }
    template <class Ex>
    [[nodiscard]] const Ex* get_exception() const noexcept
    {
        return find<Ex>();
    }
    [[nodiscard]] std::exception* get_exception() noexcept { return find<std::exception>(); }
    [[nodiscard]] const std::exception* get_exception() const noexcept { return find<std::exception>(); }

    template <class Ex>
    [[nodiscard]] bool is_compatible_with() const noexcept
    {
        return find<Ex>() != nullptr;
    }

    /// Calls `function` with the exception when it is an Ex; returns whether it was.
    template <class Ex, class F>
    bool with_exception(F&& function) const
    {
        auto* exception = find<std::remove_const_t<Ex>>();
        if (!exception)
            return false;
        std::forward<F>(function)(static_cast<Ex&>(*exception));
        return true;
    }

    [[noreturn]] void throw_exception() const
    {
        if (!m_exception)
            std::terminate();
        std::rethrow_exception(m_exception);
    }

    /// Name of the exception's type; empty without one.
    [[nodiscard]] std::string class_name() const
    {
        const std::type_info* type = thrownType();
        if (!type)
            return {};
        int status = 0;
        char* demangled = abi::__cxa_demangle(type->name(), nullptr, nullptr, &status);
        std::string name = status == 0 ? demangled : type->name();
        std::free(demangled);
        return name;
    }

    /// Type name, ": " and the exception's own what(); the type name alone when it is no std::exception. For a text
    /// without the type name ask the exception: get_exception<std::exception>()->what().
    [[nodiscard]] std::string what() const
    {
        const auto* exception = find<std::exception>();
        return exception ? class_name() + ": " + exception->what() : class_name();
    }

private:
    template <class Ex>
    Ex* find() const noexcept
    {
        if (!m_exception)
            return nullptr;
        try {
            std::rethrow_exception(m_exception);
        } catch (Ex& exception) {
            return &exception; // Not a copy: m_exception keeps it alive.
        } catch (...) {
            return nullptr;
        }
    }

    const std::type_info* thrownType() const noexcept
    {
        if (!m_exception)
            return nullptr;
        try {
            std::rethrow_exception(m_exception);
        } catch (const std::exception& exception) {
            return &typeid(exception);
        } catch (...) {
            return abi::__cxa_current_exception_type();
        }
    }

    std::exception_ptr m_exception;
};

template <class Ex, class... Args>
[[nodiscard]] exception_wrapper make_exception_wrapper(Args&&... args)
{
    return exception_wrapper(std::make_exception_ptr(Ex(std::forward<Args>(args)...)));
}
}
