#pragma once

#include <Bedrock/Export.hpp>

#include <atomic>
#include <mutex>

namespace Bedrock
{
class ReferenceCounted;

/// The small shared block behind weak pointers: points to the object while it lives, and outlives it. Any thread.
class TAVOLA_EXPORT WeakAnchor
{
public:
    explicit WeakAnchor(const ReferenceCounted* object) noexcept;

    void addReference() noexcept;
    void releaseReference() noexcept;

    /// The object with one more strong reference (the caller's), or null when it is gone, dying or not yet owned.
    [[nodiscard]] const ReferenceCounted* lock() noexcept;
    /// Whether the object still exists. True also for an object that has no strong pointer yet.
    [[nodiscard]] bool isAlive() const noexcept;
    /// Called by the dying object before anything of it is torn down.
    void detach() noexcept;

private:
    ~WeakAnchor() = default;

    std::atomic<long> m_references{1};
    mutable std::mutex m_mutex;
    const ReferenceCounted* m_object;
};
}
