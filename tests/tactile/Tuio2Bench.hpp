#pragma once

#include <Tactile/Tuio2Encoder.hpp>
#include <Tactile/TuioDecoder.hpp>

#include <doctest/doctest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

/// A decoder that is fed frames of TUIO 2.0 by one sender, and says in words what they changed.
struct Tuio2Bench
{
    Tactile::TuioDecoder decoder;
    Tactile::Tuio2Encoder encoder;
    std::vector<Tactile::ContactEvent> events;
    Tactile::SenderAddress sender = Tactile::SenderAddress::fromIpv4(127, 0, 0, 1, 5000);

    /// What the packet changed, with codes, places and angles: "appear card 5 1001 0.5 0.5 0, vanish finger 7".
    std::string feedExactly(const std::vector<char>& packet)
    {
        feed(packet);
        std::ostringstream text;
        for (const Tactile::ContactEvent& e : events) {
            if (e.kind == Tactile::ContactEvent::Kind::Seen)
                continue;
            text << (text.tellp() > 0 ? ", " : "") << nameOf(e);
            if (e.kind != Tactile::ContactEvent::Kind::Appear && e.kind != Tactile::ContactEvent::Kind::Move)
                continue;
            if (e.type == Tactile::TrackedObject::Type::Marker)
                text << ' ' << e.code;
            text << ' ' << e.position.x << ' ' << e.position.y;
            if (e.type == Tactile::TrackedObject::Type::Marker)
                text << ' ' << e.rotationRadians;
        }
        return text.str();
    }

    /// Adds what `text` reports to the frame: "token 5 1001 0.5 0.5 1, symbol 6 1002, area 6 0.5 0.5 1, pointer 7 0.5 0.5".
    void report(const std::string& text)
    {
        std::istringstream reports(text);
        for (std::string one; std::getline(reports, one, ',');) {
            std::istringstream words(one);
            std::string kind;
            std::int32_t session = 0;
            std::int32_t code = 0;
            float x = 0.f;
            float y = 0.f;
            float angle = 0.f;
            words >> kind >> session;
            if (kind == "token" || kind == "symbol")
                words >> code;
            if (kind != "symbol")
                words >> x >> y;
            if (kind == "token" || kind == "area")
                words >> angle;
            REQUIRE_FALSE(words.fail());
            if (kind == "token")
                encoder.token(session, code, x, y, angle, (3 << 16) | 2);
            else if (kind == "symbol")
                encoder.symbol(session, code, "fiducial", "0x1");
            else if (kind == "area")
                encoder.area(session, x, y, angle, 0.1f, 0.1f);
            else
                encoder.pointer(session, x, y);
        }
    }

    static std::string nameOf(const Tactile::ContactEvent& e)
    {
        static const char* const kNames[] = {"seen", "appear", "move", "vanish", "cancel"};
        return kNames[static_cast<int>(e.kind)]
            + std::string(e.type == Tactile::TrackedObject::Type::Marker ? " card " : " finger ") + std::to_string(e.key.session);
    }

    /// What the packet changed, in short: "appear card 5 vanish finger 7".
    std::string feed(const std::vector<char>& packet)
    {
        events.clear();
        decoder.decode({packet.data(), packet.size(), sender}, 0, events);
        std::string text;
        for (const Tactile::ContactEvent& e : events)
            if (e.kind != Tactile::ContactEvent::Kind::Seen)
                text += (text.empty() ? "" : " ") + nameOf(e);
        return text;
    }
    std::string end(const std::vector<std::int32_t>& alive) { return feed(encoder.finish(alive)); }

    /// A frame with fingers at `x`.
    std::string fingers(std::int32_t frame, const std::vector<std::int32_t>& alive, float x = 0.5f,
                        std::uint64_t time = Tactile::Tuio2Encoder::kNoTime)
    {
        encoder.begin(frame, time);
        for (const std::int32_t session : alive)
            encoder.pointer(session, x, 0.5f);
        return end(alive);
    }
    [[nodiscard]] std::uint64_t drops(Tactile::TuioDrop cause) const
    {
        return decoder.counters().drops[static_cast<std::size_t>(cause)];
    }
};
