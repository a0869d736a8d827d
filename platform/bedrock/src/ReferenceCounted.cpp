#include "Bedrock/ReferenceCounted.hpp"

#include "Bedrock/WeakAnchor.hpp"

namespace Bedrock
{
namespace
{
std::atomic<long> liveObjectCount{0};

/// The count of an object that is being destroyed starts here, so that counted pointers made for a moment by its own
/// destructors do not bring it to zero a second time.
constexpr long kDying = 1L << 30;
}

ReferenceCounted::ReferenceCounted() noexcept
{
    liveObjectCount.fetch_add(1, std::memory_order_relaxed);
}

ReferenceCounted::~ReferenceCounted()
{
    if (WeakAnchor* anchor = m_anchor.load(std::memory_order_acquire)) {
        anchor->detach();
        anchor->releaseReference();
    }
    liveObjectCount.fetch_sub(1, std::memory_order_relaxed);
}

long ReferenceCounted::referenceCount() const noexcept
{
    return m_references.load(std::memory_order_relaxed);
}

long ReferenceCounted::liveObjects() noexcept
{
    return liveObjectCount.load(std::memory_order_relaxed);
}

void ReferenceCounted::destroy() const noexcept
{
    m_references.store(kDying, std::memory_order_relaxed);
    if (WeakAnchor* anchor = m_anchor.load(std::memory_order_acquire))
        anchor->detach();
    delete this;
}

bool ReferenceCounted::addReferenceIfOwned() const noexcept
{
    long count = m_references.load(std::memory_order_relaxed);
    while (count > 0 && count < kDying / 2) {
        if (m_references.compare_exchange_weak(count, count + 1, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    }
    return false;
}

WeakAnchor* ReferenceCounted::weakAnchor() const
{
    WeakAnchor* anchor = m_anchor.load(std::memory_order_acquire);
    if (!anchor) {
        auto* made = new WeakAnchor(this);
        if (m_anchor.compare_exchange_strong(anchor, made, std::memory_order_acq_rel, std::memory_order_acquire))
            anchor = made;
        else
            made->releaseReference(); // Another thread was first; `anchor` is its anchor.
    }
    anchor->addReference();
    return anchor;
}
}
