#include <Facet/DeclaredEvents.hpp>

#include <cstdint>
#include <memory>
#include <utility>

namespace Facet
{
/// Events in the order of declaration. Sets form a tree, whose root is the empty one, and live as long as the process.
class EventSet
{
public:
    [[nodiscard]] static const EventSet& empty()
    {
        // Never destroyed: nodes of static objects may go late.
        static const EventSet& set = *new EventSet;
        return set;
    }

    [[nodiscard]] bool contains(EventName name) const noexcept
    {
        const auto slot = std::size_t(name.slot());
        return slot / kBits < m_bits.size() && ((m_bits[slot / kBits] >> (slot % kBits)) & 1u) != 0;
    }
    [[nodiscard]] const std::vector<EventName>& all() const noexcept { return m_all; }

    /// The set with one event more.
    [[nodiscard]] const EventSet& with(EventName name) const
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

private:
    static constexpr std::size_t kBits = 64;

    std::vector<EventName> m_all;
    std::vector<std::uint64_t> m_bits;                     ///< by number of the name
    mutable std::vector<std::unique_ptr<EventSet>> m_next; ///< filled as they are needed
};

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
