#pragma once

#include "tuio/TuioState.hpp"

#include <Tactile/OscDecoder.hpp>

#include <string_view>
#include <vector>

namespace Tactile
{
class TuioContacts;
class TuioSources;

/// The TUIO 2.0 messages of a packet: first all of them are read, then, when the packet was good, they take effect.
///
/// frm opens a frame and alv closes it, with which it takes effect; both may come in different packets. A frame is late
/// when its number is lower than the last and its time no more than a second away; else a lower number is a restart. Where
/// a sender gives no time, the rule of TUIO 1.1 holds. Number 0 has no place in the order.
class Tuio2Decoder
{
public:
    Tuio2Decoder(TuioSources& sources, TuioContacts& contacts) : m_sources(sources), m_contacts(contacts) {}

    /// Told apart from TUIO 1.1 by this.
    [[nodiscard]] static bool isAddress(std::string_view address) noexcept { return address.substr(0, 7) == "/tuio2/"; }

    void beginPacket();
    /// `isKnown` becomes false for a message that is not read.
    [[nodiscard]] OscRefusal read(const OscMessage& message, bool& isKnown);
    [[nodiscard]] bool isEmpty() const noexcept { return m_operations.empty(); }
    void apply(TuioSender& sender);

private:
    struct Operation
    {
        enum class Kind : std::uint8_t { Frame, Set, Alive };
        Kind kind = Kind::Frame;
        std::string_view source;    // Frame: into the packet
        std::int32_t frame = 0;     // Frame
        std::uint64_t time = 0;     // Frame
        std::int32_t dimension = 0; // Frame
        std::size_t aliveBegin = 0; // Alive: range of the packet's ids
        std::size_t aliveEnd = 0;
        TuioSet set; // Set
    };

    [[nodiscard]] bool readMessage(std::string_view name, OscArgumentReader& reader, Operation& operation, bool& isKnown);
    void commit(TuioSender& sender, const Operation& alive);
    bool isInOrder(int source, const Tuio2PendingFrame& frame);

    TuioSources& m_sources;
    TuioContacts& m_contacts;
    std::vector<Operation> m_operations;
    std::vector<std::int32_t> m_aliveIds;
    std::vector<std::int32_t> m_alive;
};
}
