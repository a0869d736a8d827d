#pragma once

#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/ReferenceCounted.hpp>
#include <Bedrock/WeakAnchor.hpp>

namespace Bedrock
{
/// Refers to an object without keeping it alive. May be made from `this` in a constructor, and copied and destroyed on
/// any thread; `lock()` on the object's own thread is the only safe way to use the object again.
template <class T>
class IntrusiveWeakPtr
{
public:
    IntrusiveWeakPtr() noexcept = default;
    IntrusiveWeakPtr(T* object) : m_object(object), m_anchor(object ? object->weakAnchor() : nullptr) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    IntrusiveWeakPtr(const IntrusivePtr<U>& pointer) : IntrusiveWeakPtr(pointer.get())
    {
    }
    IntrusiveWeakPtr(const IntrusiveWeakPtr& other) noexcept : m_object(other.m_object), m_anchor(other.m_anchor)
    {
        if (m_anchor)
            m_anchor->addReference();
    }
    IntrusiveWeakPtr(IntrusiveWeakPtr&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr)), m_anchor(std::exchange(other.m_anchor, nullptr))
    {
    }
    ~IntrusiveWeakPtr()
    {
        if (m_anchor)
            m_anchor->releaseReference();
    }
    IntrusiveWeakPtr& operator=(IntrusiveWeakPtr other) noexcept
    {
        std::swap(m_object, other.m_object);
        std::swap(m_anchor, other.m_anchor);
        return *this;
    }

    /// A strong pointer, or null once the object is destroyed, is being destroyed, or has no strong pointer yet.
    [[nodiscard]] IntrusivePtr<T> lock() const noexcept
    {
        if (!m_anchor || !m_anchor->lock())
            return nullptr;
        return IntrusivePtr<T>::adopt(m_object);
    }
    /// True while the object exists. Meaningful on the object's own thread.
    explicit operator bool() const noexcept { return m_anchor && m_anchor->isAlive(); }
    void reset() noexcept { *this = IntrusiveWeakPtr(); }

private:
    T* m_object = nullptr;
    WeakAnchor* m_anchor = nullptr;
};
}
