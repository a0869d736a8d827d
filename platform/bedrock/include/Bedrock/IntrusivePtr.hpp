#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace Bedrock
{
/// Strong pointer to an object that counts inside itself (ReferenceCounted). Making one from a plain pointer or
/// reference at any time is legal and adds a reference.
///
/// Never make one from `this` inside a constructor: the count is still zero, so releasing it would destroy the object.
template <class T>
class IntrusivePtr
{
public:
    using element_type = T;

    IntrusivePtr() noexcept = default;
    IntrusivePtr(std::nullptr_t) noexcept {}
    IntrusivePtr(T* object) noexcept : m_object(object)
    {
        if (m_object)
            m_object->addReference();
    }
    explicit IntrusivePtr(T& object) noexcept : IntrusivePtr(&object) {}
    IntrusivePtr(const IntrusivePtr& other) noexcept : IntrusivePtr(other.m_object) {}
    IntrusivePtr(IntrusivePtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    IntrusivePtr(const IntrusivePtr<U>& other) noexcept : IntrusivePtr(other.get())
    {
    }
    ~IntrusivePtr()
    {
        if (m_object)
            m_object->releaseReference();
    }

    IntrusivePtr& operator=(IntrusivePtr other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }

    void reset() noexcept { *this = IntrusivePtr(); }

    [[nodiscard]] T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    /// Takes over a reference that the caller already holds.
    [[nodiscard]] static IntrusivePtr adopt(T* object) noexcept
    {
        IntrusivePtr pointer;
        pointer.m_object = object;
        return pointer;
    }

    template <class U>
    friend bool operator==(const IntrusivePtr& a, const IntrusivePtr<U>& b) noexcept
    {
        return a.get() == b.get();
    }
    template <class U>
    friend bool operator!=(const IntrusivePtr& a, const IntrusivePtr<U>& b) noexcept
    {
        return a.get() != b.get();
    }
    friend bool operator==(const IntrusivePtr& a, const T* b) noexcept { return a.get() == b; }
    friend bool operator!=(const IntrusivePtr& a, const T* b) noexcept { return a.get() != b; }
    friend bool operator==(const IntrusivePtr& a, std::nullptr_t) noexcept { return !a; }
    friend bool operator!=(const IntrusivePtr& a, std::nullptr_t) noexcept { return bool(a); }

private:
    T* m_object = nullptr;
};

/// Makes an object and its first strong pointer.
template <class T, class... Args>
[[nodiscard]] IntrusivePtr<T> makeIntrusive(Args&&... args)
{
    return IntrusivePtr<T>(new T(std::forward<Args>(args)...));
}

/// The pointer as another type of the same object (also a cross-cast to an unrelated base), or null.
template <class To, class From>
[[nodiscard]] IntrusivePtr<To> dynamicPointerCast(const IntrusivePtr<From>& pointer) noexcept
{
    return IntrusivePtr<To>(dynamic_cast<To*>(pointer.get()));
}
}
