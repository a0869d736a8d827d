#pragma once

#include <Tactile/ContactEvent.hpp>
#include <Tactile/DatagramSource.hpp>
#include <Tactile/TuioCounters.hpp>

#include <memory>
#include <string>
#include <vector>

namespace Tactile
{
/// Turns TUIO 1.1 packets (2Dobj, 2Dcur, 2Dblb) into contact events.
///
/// - A frame takes effect at its fseq: all of it, or none. A malformed message drops its whole packet.
/// - Frames are ordered for each source and profile by itself. A source is known by what it calls itself, else by the
///   address it sends from, and always within one listener. The name of a source message holds for what the same address
///   sends later, until it gives another.
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
