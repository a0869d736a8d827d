#pragma once

#include <Http/Limits.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>

namespace Http
{
/// The connections of one door, and which of them ends when there are too many. A new connection always enters: the one that
/// has waited longest ends for it, those of other machines before those of this one. A download is never ended, but only so
/// many may begin. So neither idle phones nor downloads, however many, keep a table's commands out. An answer that the handler
/// still owes does not end either.
///
/// Contains no sockets. One thread.
class ConnectionRoster
{
public:
    /// A connection. In the roster from enter() until leave() or giveUp(); has to leave before it is destroyed.
    class Member
    {
    public:
        /// `address`: the client's; empty for this machine.
        explicit Member(std::string address) : m_address(std::move(address)) {}
        Member(const Member&) = delete;
        Member& operator=(const Member&) = delete;

        /// Ends the connection at once. It has left the roster already; nothing of the roster may be called from here.
        virtual void giveUp() = 0;

    protected:
        virtual ~Member() = default;

    private:
        friend class ConnectionRoster;
        const std::string m_address;
        std::uint64_t m_turn = 0; ///< when it began to wait
        bool m_isDownloading = false;
        bool m_isAnswering = false;
    };

    enum class Entry {
        Free,
        AddressFull, ///< another connection of the same address was ended
        Full,        ///< another connection was ended
    };

    explicit ConnectionRoster(const ConnectionLimits& limits);

    /// The connection that ends for the new one has ended when this returns: the new one itself if all others are busy.
    Entry enter(Member& member);
    void leave(Member& member);

    /// The member was of use: of all it has waited shortest now.
    void waitsAnew(Member& member);

    /// False when too many download, altogether or from that address.
    [[nodiscard]] bool beginDownload(Member& member);
    void endDownload(Member& member);

    /// While the handler has a request of the member and has not answered it.
    void setAnswering(Member& member, bool isAnswering) { member.m_isAnswering = isAnswering; }

    [[nodiscard]] std::size_t size() const { return m_members.size(); }

private:
    [[nodiscard]] Member* longestWaiting(const Member& newcomer, bool sameAddressOnly) const;
    void giveUp(Member& member);

    ConnectionLimits m_limits;
    std::unordered_set<Member*> m_members;
    std::uint64_t m_lastTurn = 0;
};

}
