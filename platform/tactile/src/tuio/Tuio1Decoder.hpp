#pragma once

#include "tuio/TuioMessages.hpp"

namespace Tactile
{
class TuioContacts;
class TuioSources;

/// The TUIO 1.1 messages of a packet: `read` collects them, `apply` gives them effect.
///
/// Each profile has frames of its own: alive and set messages, ended by fseq, maybe in different packets. A frame is late
/// when its number is lower than the last by at most TuioDecoder::kLateFrames; else a lower number is a restart of the sender.
/// A negative number takes no part in the order.
class Tuio1Decoder
{
public:
    Tuio1Decoder(TuioSources& sources, TuioContacts& contacts) : m_sources(sources), m_contacts(contacts) {}

    void beginPacket() { m_messages.clear(); }
    /// Sets `isKnown` to false for a profile or command that is not read.
    [[nodiscard]] OscRefusal read(const OscMessage& message, bool& isKnown);
    [[nodiscard]] bool isEmpty() const noexcept { return m_messages.isEmpty(); }
    void apply(TuioSender& sender);

private:
    bool readArguments(const OscMessage& message, OscArgumentReader& reader, TuioOperation& operation, bool& isKnown);
    void commit(TuioSender& sender, TuioProfile profile, std::int32_t frame);

    TuioSources& m_sources;
    TuioContacts& m_contacts;
    TuioMessages m_messages;
};
}
