#include "Bedrock/WeakAnchor.hpp"

#include "Bedrock/ReferenceCounted.hpp"

namespace Bedrock
{
WeakAnchor::WeakAnchor(const ReferenceCounted* object) noexcept : m_object(object) {}

void WeakAnchor::addReference() noexcept
{
    m_references.fetch_add(1, std::memory_order_relaxed);
}

void WeakAnchor::releaseReference() noexcept
{
    if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

const ReferenceCounted* WeakAnchor::lock() noexcept
{
    // The object cannot go away under the mutex: its destruction begins with detach().
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_object && m_object->addReferenceIfOwned() ? m_object : nullptr;
}

bool WeakAnchor::isAlive() const noexcept
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_object != nullptr;
}

void WeakAnchor::detach() noexcept
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_object = nullptr;
}
}
