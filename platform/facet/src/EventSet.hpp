#pragma once

#include <Facet/EventName.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Facet
{
/// Events in the order of declaration. Sets form a tree, whose root is the empty one, and live as long as the process.
class EventSet
{
public:
    [[nodiscard]] static const EventSet& empty();

    [[nodiscard]] bool contains(EventName name) const noexcept
    {
        const auto slot = std::size_t(name.slot());
        return slot / kBits < m_bits.size() && ((m_bits[slot / kBits] >> (slot % kBits)) & 1u) != 0;
    }
    [[nodiscard]] const std::vector<EventName>& all() const noexcept { return m_all; }

    /// The set with one event more.
    [[nodiscard]] const EventSet& with(EventName name) const;

private:
    static constexpr std::size_t kBits = 64;

    std::vector<EventName> m_all;
    std::vector<std::uint64_t> m_bits;                     ///< by number of the name
    mutable std::vector<std::unique_ptr<EventSet>> m_next; ///< filled as they are needed
};
}
