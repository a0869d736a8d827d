#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace folly
{
template <class Signature>
class Function;

/// A function that can be moved but not copied, so that it may hold promises. Small ones live inside the object.
/// Calling an empty one throws std::bad_function_call.
template <class Result, class... Args>
class Function<Result(Args...)>
{
public:
    Function() noexcept = default;
    Function(std::nullptr_t) noexcept {}
    Function(const Function&) = delete;
    Function& operator=(const Function&) = delete;
    Function(Function&& other) noexcept { moveFrom(other); }

    template <class F,
              class = std::enable_if_t<
                  !std::is_same_v<std::decay_t<F>, Function> && std::is_invocable_r_v<Result, std::decay_t<F>&, Args...>>>
    Function(F&& function)
    {
        using Callable = std::decay_t<F>;
        if constexpr (isSmall<Callable>()) {
            ::new (static_cast<void*>(&m_storage)) Callable(std::forward<F>(function));
            m_call = [](void* storage, Args&&... args) -> Result {
                return static_cast<Result>((*static_cast<Callable*>(storage))(std::forward<Args>(args)...));
            };
            m_manage = [](void* from, void* to) noexcept {
                auto* callable = static_cast<Callable*>(from);
                if (to)
                    ::new (to) Callable(std::move(*callable));
                callable->~Callable();
            };
        } else {
            ::new (static_cast<void*>(&m_storage)) Callable*(new Callable(std::forward<F>(function)));
            m_call = [](void* storage, Args&&... args) -> Result {
                return static_cast<Result>((**static_cast<Callable**>(storage))(std::forward<Args>(args)...));
            };
            m_manage = [](void* from, void* to) noexcept {
                auto* callable = *static_cast<Callable**>(from);
                if (to)
                    ::new (to) Callable*(callable);
                else
                    delete callable;
            };
        }
    }

    ~Function() { destroy(); }

    Function& operator=(Function&& other) noexcept
    {
        if (this != &other) {
            destroy();
            moveFrom(other);
        }
        return *this;
    }
    Function& operator=(std::nullptr_t) noexcept
    {
        destroy();
        return *this;
    }

    Result operator()(Args... args)
    {
        if (!m_call)
            throw std::bad_function_call();
        return m_call(&m_storage, std::forward<Args>(args)...);
    }

    explicit operator bool() const noexcept { return m_call != nullptr; }

private:
    static constexpr std::size_t kInPlaceSize = 48;

    template <class Callable>
    static constexpr bool isSmall()
    {
        return sizeof(Callable) <= kInPlaceSize && alignof(Callable) <= alignof(std::max_align_t)
            && std::is_nothrow_move_constructible_v<Callable>;
    }

    void moveFrom(Function& other) noexcept
    {
        if (other.m_manage)
            other.m_manage(&other.m_storage, &m_storage);
        m_call = std::exchange(other.m_call, nullptr);
        m_manage = std::exchange(other.m_manage, nullptr);
    }

    void destroy() noexcept
    {
        m_call = nullptr;
        if (auto* manage = std::exchange(m_manage, nullptr))
            manage(&m_storage, nullptr);
    }

    Result (*m_call)(void* storage, Args&&... args) = nullptr;
    /// Moves the callable to `to`, or destroys it when `to` is null.
    void (*m_manage)(void* from, void* to) noexcept = nullptr;
    alignas(std::max_align_t) unsigned char m_storage[kInPlaceSize];
};
}
