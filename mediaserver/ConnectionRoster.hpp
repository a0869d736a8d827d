#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>

namespace MediaServer
{

/// How many may be connected at once, and for what.
struct ConnectionLimits
{
    std::size_t connections = 512;
    /// So many are never used for downloads, which may take long; but at most half of `connections`.
    std::size_t keptFree = 64;
    /// From one address; this machine may have any number. A network that hides its phones behind one address counts as one.
    std::size_t perAddress = 64;
};

/// Who is connected, and who has to go when there are too many. Everybody who comes is let in: for that, whoever has been
/// waiting longest is given up, and other machines go before this one. A download is never given up, but not everybody may
/// begin one. So neither phones that do nothing nor downloads, however many, keep a table from being heard.
///
/// Knows no sockets. One thread.
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

        /// Ends the connection at once. The roster has forgotten it already; nothing of the roster may be called from here.
        virtual void giveUp() = 0;

    protected:
        virtual ~Member() = default;

    private:
        friend class ConnectionRoster;
        const std::string m_address;
        std::uint64_t m_turn = 0; ///< when it began to wait
        bool m_isDownloading = false;
    };

    enum class Entry {
        Free,
        AddressFull, ///< somebody of the same address was given up
        Full,        ///< somebody was given up
    };

    explicit ConnectionRoster(const ConnectionLimits& limits);

    /// Whoever is given up for the new one, it is given up when this returns: the new one itself if all others download.
    Entry enter(Member& member);
    void leave(Member& member);

    /// The member was of use: of all it has been waiting shortest now.
    void waitsAnew(Member& member);

    /// False when too many download, altogether or from that address.
    [[nodiscard]] bool beginDownload(Member& member);
    void endDownload(Member& member);

    [[nodiscard]] std::size_t size() const { return m_members.size(); }

private:
    [[nodiscard]] Member* longestWaiting(const Member& newcomer, bool sameAddressOnly) const;
    void giveUp(Member& member);

    ConnectionLimits m_limits;
    std::unordered_set<Member*> m_members;
    std::uint64_t m_lastTurn = 0;
};

} // namespace MediaServer
