#pragma once

#include <Bedrock/Export.hpp>

#include <atomic>

namespace Bedrock
{
class WeakAnchor;

/// Base of objects that carry their own reference count, so that a counted pointer can be made again at any time from a
/// plain reference. The object deletes itself with its last IntrusivePtr; an object that no IntrusivePtr ever
/// held belongs to the code that made it. Counting is safe from any thread; destruction happens on the releasing thread.
class TAVOLA_EXPORT ReferenceCounted
{
public:
    ReferenceCounted() noexcept;
    ReferenceCounted(const ReferenceCounted&) = delete;
    ReferenceCounted& operator=(const ReferenceCounted&) = delete;

    /// Number of strong references; without meaning while the object is being destroyed. For tests and assertions; stale as soon
    /// as it is returned.
    [[nodiscard]] long referenceCount() const noexcept;

    /// Objects of this kind alive in the process, for leak checks at the end of a test.
    [[nodiscard]] static long liveObjects() noexcept;

    /// Used by the pointers only.
    void addReference() const noexcept { m_references.fetch_add(1, std::memory_order_relaxed); }
    void releaseReference() const noexcept
    {
        if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            destroy();
    }
    /// Adds a reference unless the count is zero (not yet owned, or dying). Used by WeakAnchor.
    [[nodiscard]] bool addReferenceIfOwned() const noexcept;
    /// The anchor that weak pointers share; made on first use, any thread. Returned with one reference for the caller.
    [[nodiscard]] WeakAnchor* weakAnchor() const;

protected:
    virtual ~ReferenceCounted();

private:
    /// The last reference has gone.
    void destroy() const noexcept;

    mutable std::atomic<long> m_references{0};
    mutable std::atomic<WeakAnchor*> m_anchor{nullptr};
};
}
