#pragma once

#include "tuio/TuioMessages.hpp"

namespace Tactile
{
class TuioContacts;
class TuioSources;

/// The TUIO 2.0 messages of a packet: `read` collects them, `apply` gives them effect.
///
/// frm opens a frame and alv ends it, maybe in different packets. A frame is late when its number is lower than the last and
/// its time at most a second away; else a lower number is a restart of the sender. Where a sender gives no time, the rule of
/// TUIO 1.1 holds. Number 0 takes no part in the order.
class Tuio2Decoder
{
public:
    Tuio2Decoder(TuioSources& sources, TuioContacts& contacts) : m_sources(sources), m_contacts(contacts) {}

    /// Whether a message of this address is TUIO 2.0, not 1.1.
    [[nodiscard]] static bool isAddress(std::string_view address) noexcept { return address.substr(0, 7) == "/tuio2/"; }

    void beginPacket() { m_messages.clear(); }
    /// Sets `isKnown` to false for a message that is not read.
    [[nodiscard]] OscRefusal read(const OscMessage& message, bool& isKnown);
    [[nodiscard]] bool isEmpty() const noexcept { return m_messages.isEmpty(); }
    void apply(TuioSender& sender);

private:
    bool readArguments(std::string_view name, OscArgumentReader& reader, TuioOperation& operation, bool& isKnown);
    void commit(TuioSender& sender, const TuioOperation& alive);
    bool beginFrame(int source, const Tuio2PendingFrame& frame);

    TuioSources& m_sources;
    TuioContacts& m_contacts;
    TuioMessages m_messages;
    std::vector<std::int32_t> m_alive; // kept for its memory
};
}
