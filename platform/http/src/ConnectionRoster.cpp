#include "ConnectionRoster.hpp"

#include <algorithm>
#include <tuple>

namespace Http
{
ConnectionRoster::ConnectionRoster(const ConnectionLimits& limits) : m_limits(limits)
{
    m_limits.keptFree = std::min(m_limits.keptFree, m_limits.connections / 2);
}

ConnectionRoster::Entry ConnectionRoster::enter(Member& member)
{
    m_members.insert(&member);
    waitsAnew(member);

    Entry entry = Entry::Free;
    if (!member.m_address.empty()) {
        const auto same = std::count_if(m_members.begin(), m_members.end(),
                                        [&](const Member* other) { return other->m_address == member.m_address; });
        if (std::size_t(same) > m_limits.perAddress)
            entry = Entry::AddressFull;
    }
    if (entry == Entry::Free && m_members.size() > m_limits.connections)
        entry = Entry::Full;
    if (entry != Entry::Free) {
        Member* const other = longestWaiting(member, entry == Entry::AddressFull);
        giveUp(other ? *other : member);
    }
    return entry;
}

void ConnectionRoster::leave(Member& member)
{
    m_members.erase(&member);
}

void ConnectionRoster::waitsAnew(Member& member)
{
    member.m_turn = ++m_lastTurn;
}

bool ConnectionRoster::beginDownload(Member& member)
{
    std::size_t all = 0;
    std::size_t same = 0;
    for (const Member* other : m_members) {
        all += other->m_isDownloading ? 1 : 0;
        same += other->m_isDownloading && other->m_address == member.m_address ? 1 : 0;
    }
    if (all + m_limits.keptFree >= m_limits.connections)
        return false;
    // The last one of an address is for its next request: a table may have it in common with phones.
    if (!member.m_address.empty() && same + 1 >= m_limits.perAddress)
        return false;
    member.m_isDownloading = true;
    return true;
}

void ConnectionRoster::endDownload(Member& member)
{
    member.m_isDownloading = false;
}

ConnectionRoster::Member* ConnectionRoster::longestWaiting(const Member& newcomer, bool sameAddressOnly) const
{
    Member* found = nullptr;
    const auto order = [](const Member& member) { return std::make_tuple(member.m_address.empty(), member.m_turn); };
    for (Member* other : m_members) {
        if (other == &newcomer || other->m_isDownloading || other->m_isAnswering
            || (sameAddressOnly && other->m_address != newcomer.m_address))
            continue;
        if (!found || order(*other) < order(*found))
            found = other;
    }
    return found;
}

void ConnectionRoster::giveUp(Member& member)
{
    leave(member);
    member.giveUp();
}

}
