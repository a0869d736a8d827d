#pragma once

#include <Tactile/ContactEvent.hpp>
#include <Tactile/DatagramSource.hpp>
#include <Tactile/TuioCounters.hpp>

#include <memory>
#include <string>
#include <vector>

namespace Tactile
{
/// Turns packets of TUIO 1.1 (2Dobj, 2Dcur, 2Dblb) and TUIO 2.0 (frm, tok, ptr, bnd, sym, alv) into contact events. Both
/// may come through one port; they differ in the addresses of their messages.
///
/// - A frame takes effect at its end (fseq, alv): all of it, or none. A malformed message drops its whole packet.
/// - Each source, and in TUIO 1.1 each of its profiles, has its own order of frames. A source is identified by the name it
///   sends, else by its address, always within one listener. A name holds for later packets of the same address.
/// - In TUIO 2.0 a token is a marker with its component id as code; a pointer is a finger. An area alone is a finger, as a
///   blob is; an area with a symbol is a marker with the symbol's component id. Where several report one session, the token
///   decides its place, then the pointer, then the area; a finger that turns out to be a marker is cancelled.
/// - A contact appears with its first position and vanishes when it is missing in an alive list.
/// - Positions are clamped to 0..1, angles wrapped to [0, 2π).
///
/// Counts, and writes no log. One thread at a time.
class TAVOLA_EXPORT TuioDecoder
{
public:
    static constexpr std::size_t kMaxFingers = 256; ///< of one source, blobs included
    static constexpr std::size_t kMaxMarkers = 64;  ///< of one source
    static constexpr std::size_t kMaxSources = 16;
    static constexpr std::int32_t kLateFrames = 100;

    struct RefusedPacket
    {
        OscRefusal cause = OscRefusal::None;
        SenderAddress sender;
    };

    TuioDecoder();
    ~TuioDecoder();

    /// Appends to `events` what the packet changes. `listener`: index of the datagram source.
    void decode(const Datagram& datagram, std::uint16_t listener, std::vector<ContactEvent>& events);

    /// Counts a packet that the caller dropped unread.
    void countUnread(TuioDrop cause);
    /// Counts a contact of `source` that the caller ignores.
    void count(TuioDrop cause, std::uint16_t source);

    /// Call when the source was silent for so long that its contacts were given up. When it sends again, its markers appear
    /// anew where they were, its fingers are ignored until they are lifted, and any lower frame number is a restart. Its
    /// index may be given to another source meanwhile.
    void sourceLost(std::uint16_t source);

    [[nodiscard]] const TuioCounters& counters() const noexcept;

    /// The first packet that was refused; cause None if there is none.
    [[nodiscard]] const RefusedPacket& firstRefused() const noexcept;
    /// Address of the first message of an unknown kind; empty if there is none.
    [[nodiscard]] const std::string& firstUnknownAddress() const noexcept;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
