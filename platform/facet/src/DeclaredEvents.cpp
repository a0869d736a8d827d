#include <Facet/DeclaredEvents.hpp>

#include "EventSet.hpp"

namespace Facet
{
DeclaredEvents::DeclaredEvents() noexcept : m_set(&EventSet::empty()) {}

void DeclaredEvents::add(EventName name)
{
    if (!m_set->contains(name))
        m_set = &m_set->with(name);
}

bool DeclaredEvents::contains(EventName name) const noexcept
{
    return m_set->contains(name);
}

const std::vector<EventName>& DeclaredEvents::all() const noexcept
{
    return m_set->all();
}
}
