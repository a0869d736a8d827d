// One input is a run of datagrams on one table. Ahead of each stand two bytes, the size, big end first, and one byte:
//
//     bits 0 to 2   from which of eight ports it comes
//     bit 3         through which of two listeners
//     bit 4         a frame is taken after it
//     bit 5         source 0 is given up after it
//
// A size beyond the end means all that is left.

#include "FuzzSupport.hpp"

#include <Tactile/ContactTracker.hpp>
#include <Tactile/Sample.hpp>
#include <Tactile/TuioDecoder.hpp>

#include <algorithm>
#include <cstdint>
#include <map>
#include <tuple>
#include <vector>

namespace
{
using Fuzz::require;

/// Everything that the decoder promises of its events, from one packet to the next.
class Promises
{
public:
    void check(const std::vector<Tactile::ContactEvent>& events, const Tactile::TuioDecoder& decoder)
    {
        using Kind = Tactile::ContactEvent::Kind;
        for (const Tactile::ContactEvent& e : events) {
            require(e.key.source < Tactile::TuioDecoder::kMaxSources, "a source has a small index");
            if (e.kind == Kind::Seen)
                continue;
            require(e.position.x >= 0.f && e.position.x <= 1.f && e.position.y >= 0.f && e.position.y <= 1.f,
                    "a contact lies on the surface");
            require(e.rotationRadians >= 0.f && e.rotationRadians < 6.2831855f, "an angle is within one turn");
            const auto key = std::make_tuple(e.key.source, e.key.channel, e.key.session);
            const auto known = m_contacts.find(key);
            if (e.kind == Kind::Appear) {
                require(known == m_contacts.end(), "what is there does not appear again");
                m_contacts[key] = e.type;
                continue;
            }
            require(known != m_contacts.end(), "only what appeared moves or ends");
            require(known->second == e.type, "a contact stays what it is");
            if (e.kind != Kind::Move)
                m_contacts.erase(known);
        }
        count(decoder);
    }
    void sourceLost(std::uint16_t source)
    {
        for (auto it = m_contacts.begin(); it != m_contacts.end();)
            it = std::get<0>(it->first) == source ? m_contacts.erase(it) : std::next(it);
    }

private:
    void count(const Tactile::TuioDecoder& decoder)
    {
        const auto& sources = decoder.counters().sources;
        require(sources.size() <= Tactile::TuioDecoder::kMaxSources, "there are no more sources than allowed");
        std::vector<std::size_t> fingers(sources.size());
        std::vector<std::size_t> markers(sources.size());
        for (const auto& [key, type] : m_contacts)
            ++(type == Tactile::TrackedObject::Type::Marker ? markers : fingers).at(std::get<0>(key));
        for (std::size_t i = 0; i < sources.size(); ++i) {
            require(fingers[i] == sources[i].fingers && markers[i] == sources[i].markers, "the counters count");
            require(fingers[i] <= Tactile::TuioDecoder::kMaxFingers && markers[i] <= Tactile::TuioDecoder::kMaxMarkers,
                    "the caps hold");
        }
    }

    std::map<std::tuple<std::uint16_t, std::uint8_t, std::int32_t>, Tactile::TrackedObject::Type> m_contacts;
};
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Tactile::TuioDecoder decoder;
    Tactile::ContactTracker tracker;
    Tactile::Sample sample;
    Promises promises;
    std::vector<Tactile::ContactEvent> events;
    std::vector<Tactile::ContactEvent> frame;
    double now = 0.0;
    while (size >= 3) {
        const std::size_t wanted = std::size_t(data[0]) * 256 + data[1];
        const unsigned flags = data[2];
        data += 3;
        size -= 3;
        const std::size_t taken = std::min(wanted, size);
        // A block of its own, so that a read beyond the packet is one beyond the block.
        const std::vector<char> packet(data, data + taken);
        data += taken;
        size -= taken;

        events.clear();
        decoder.decode({packet.data(), packet.size(),
                        Tactile::SenderAddress::fromIpv4(127, 0, 0, 1, static_cast<std::uint16_t>(5000 + (flags & 7)))},
                       static_cast<std::uint16_t>((flags >> 3) & 1), events);
        promises.check(events, decoder);
        frame.insert(frame.end(), events.begin(), events.end());
        if (flags & 16) {
            tracker.update(now += 0.1, frame, sample);
            frame.clear();
        }
        if (flags & 32) {
            decoder.sourceLost(0);
            promises.sourceLost(0);
        }
    }
    return 0;
}
