#pragma once

#include "tuio/TuioState.hpp"

#include <Tactile/OscDecoder.hpp>
#include <Tactile/TuioEncoder.hpp>

#include <string_view>
#include <vector>

namespace Tactile
{
class TuioContacts;
class TuioSources;

/// The TUIO 1.1 messages of a packet: first all of them are read, then, when the packet was good, they take effect.
class Tuio1Decoder
{
public:
    Tuio1Decoder(TuioSources& sources, TuioContacts& contacts) : m_sources(sources), m_contacts(contacts) {}

    void beginPacket();
    /// `isKnown` becomes false for a profile or command that is not read.
    [[nodiscard]] OscRefusal read(const OscMessage& message, bool& isKnown);
    [[nodiscard]] bool isEmpty() const noexcept { return m_operations.empty(); }
    void apply(TuioSender& sender);

private:
    struct Operation
    {
        enum class Kind : std::uint8_t { Source, Alive, Set, Fseq };
        Kind kind = Kind::Source;
        TuioProfile profile = TuioProfile::Objects;
        std::string_view source;    // Source: into the packet
        std::size_t aliveBegin = 0; // Alive: range of the packet's ids
        std::size_t aliveEnd = 0;
        TuioSet set;            // Set
        std::int32_t frame = 0; // Fseq
    };

    bool readAlive(OscArgumentReader& reader, Operation& operation);
    static bool readSet(OscArgumentReader& reader, Operation& operation);
    void commit(TuioSender& sender, TuioProfile profile, std::int32_t frame);
    bool isInOrder(int source, TuioChannel channel, std::int32_t frame);

    TuioSources& m_sources;
    TuioContacts& m_contacts;
    std::vector<Operation> m_operations;
    std::vector<std::int32_t> m_aliveIds;
};
}
