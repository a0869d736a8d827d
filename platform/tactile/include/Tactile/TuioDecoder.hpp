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
/// may come through one port; the addresses of the messages tell them apart.
///
/// - A frame takes effect at its end (fseq, alv): all of it, or none. A malformed message drops its whole packet.
/// - Frames are ordered for each source by itself, in TUIO 1.1 for each of its profiles. A source is known by what it
///   calls itself, else by the address it sends from, and always within one listener. The name holds for what the same
///   address sends later, until it gives another.
/// - In TUIO 2.0 a token is a marker with its component id as code, a pointer is a finger, whatever its type. An area
///   alone is a finger, as a blob is; an area with a symbol is a marker with the symbol's component id. Where one session
///   is several of these, the token tells its place, then the pointer, then the area. An area or pointer that turns out
///   to be a marker is cancelled as a finger. Type, user, pressure and derivatives are not used.
/// - A contact appears with its first position and vanishes when it is missing in an alive list.
/// - Positions are clamped to 0..1, angles wrapped to [0, 2π).
///
/// Writes no log and knows no time; it counts. Any thread, one at a time.
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

    /// Appends to `events` what the packet changes. `listener`: which datagram source it came through.
    void decode(const Datagram& datagram, std::uint16_t listener, std::vector<ContactEvent>& events);

    /// Counts a packet that the caller throws away unread.
    void countUnread(TuioDrop cause);

    /// The source was silent for so long that its contacts were given up. When it speaks again, its markers appear anew
    /// where they were, its fingers stay ignored until they are lifted, and any lower frame number is a restart. Its
    /// place may go to another source meanwhile.
    void sourceLost(std::uint16_t source);

    [[nodiscard]] const TuioCounters& counters() const noexcept;

    /// The packet that was refused first; cause None before it.
    [[nodiscard]] const RefusedPacket& firstRefused() const noexcept;
    /// Address of the first message that was neither understood nor malformed; "" before it.
    [[nodiscard]] const std::string& firstUnknownAddress() const noexcept;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
