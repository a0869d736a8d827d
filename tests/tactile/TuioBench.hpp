#pragma once

#include <Tactile/ContactEvent.hpp>
#include <Tactile/TuioDecoder.hpp>
#include <Tactile/TuioEncoder.hpp>

#include <cstdint>
#include <string>
#include <vector>

/// A decoder of TUIO without a table, and the packets to feed it with.
namespace TestTuio
{
struct Bench
{
    Tactile::TuioDecoder decoder;
    std::vector<Tactile::ContactEvent> events;
    Tactile::SenderAddress sender = Tactile::SenderAddress::fromIpv4(127, 0, 0, 1, 5000);

    /// What the packet changed, in short: "appear 5 vanish 7".
    std::string feed(const std::vector<char>& packet, std::uint16_t listener = 0)
    {
        events.clear();
        decoder.decode({packet.data(), packet.size(), sender}, listener, events);
        static const char* const kNames[] = {"seen", "appear", "move", "vanish", "cancel"};
        std::string text;
        for (const Tactile::ContactEvent& e : events)
            if (e.kind != Tactile::ContactEvent::Kind::Seen)
                text += (text.empty() ? "" : " ") + std::string(kNames[static_cast<int>(e.kind)]) + ' '
                    + std::to_string(e.key.session);
        return text;
    }
    [[nodiscard]] std::uint64_t drops(Tactile::TuioDrop cause) const
    {
        return decoder.counters().drops[static_cast<std::size_t>(cause)];
    }
};

inline std::vector<char> fingers(std::int32_t frame, const std::vector<std::int32_t>& alive,
                                 const std::vector<std::int32_t>& sets, float x = 0.5f, const std::string& source = {})
{
    Tactile::TuioEncoder encoder(source);
    encoder.begin(Tactile::TuioProfile::Cursors);
    encoder.alive(alive);
    for (const std::int32_t s : sets)
        encoder.setCursor(s, x, 0.5f);
    return encoder.finish(frame);
}

inline std::vector<char> cards(std::int32_t frame, const std::vector<std::int32_t>& alive, const std::vector<std::int32_t>& sets,
                               std::int32_t code = 1001, float x = 0.5f, float angle = 0.f)
{
    Tactile::TuioEncoder encoder;
    encoder.begin(Tactile::TuioProfile::Objects);
    encoder.alive(alive);
    for (const std::int32_t s : sets)
        encoder.setObject(s, code, x, 0.5f, angle);
    return encoder.finish(frame);
}
}
