#include "EventSet.hpp"

#include <utility>

namespace Facet
{
const EventSet& EventSet::empty()
{
    // Never destroyed: nodes of static objects may go late.
    static const EventSet& set = *new EventSet;
    return set;
}

const EventSet& EventSet::with(EventName name) const
{
    for (auto& next : m_next) {
        if (next->m_all.back() == name) {
            std::swap(next, m_next.front()); // nodes of a class are often made in a row
            return *m_next.front();
        }
    }
    auto next = std::make_unique<EventSet>();
    next->m_all = m_all;
    next->m_all.push_back(name);
    next->m_bits = m_bits;
    const auto slot = std::size_t(name.slot());
    if (slot / kBits >= next->m_bits.size())
        next->m_bits.resize(slot / kBits + 1);
    next->m_bits[slot / kBits] |= std::uint64_t(1) << (slot % kBits);
    m_next.push_back(std::move(next));
    return *m_next.back();
}
}
