#pragma once

namespace Facet
{
/// Counts its IntrusivePtrs, on one thread: the count is not atomic, so that sending an event stays cheap. `T` derives from it.
template <class T>
class Counted
{
public:
    Counted() = default;
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    /// Used by IntrusivePtr only.
    void addReference() noexcept { ++m_references; }
    void releaseReference() noexcept
    {
        if (--m_references == 0)
            delete static_cast<T*>(this);
    }

protected:
    ~Counted() = default;

private:
    int m_references = 0;
};
}
