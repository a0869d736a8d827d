#pragma once

#include <Tactile/DatagramSource.hpp>
#include <Tactile/TuioEncoder.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What the TUIO 1.1 decoder remembers: of each address that sends, the frame that is being put together; of each source,
/// the contacts that its last frame left.
namespace Tactile
{
struct TuioSet
{
    std::int32_t session = 0;
    std::int32_t code = 0;
    float x = 0.f;
    float y = 0.f;
    float angle = 0.f;
};

/// One understood message. A packet is turned into these as a whole before any of it takes effect.
struct TuioOperation
{
    enum class Kind : std::uint8_t { Source, Alive, Set, Fseq };
    Kind kind = Kind::Source;
    TuioProfile profile = TuioProfile::Objects;
    std::string_view source;      // Source: into the packet
    std::size_t aliveBegin = 0;   // Alive: range of the packet's ids
    std::size_t aliveEnd = 0;
    TuioSet set;                  // Set
    std::int32_t frame = 0;       // Fseq
};

/// The frame of one profile until its fseq comes, maybe in a later packet.
struct TuioPendingFrame
{
    bool hasAlive = false;
    std::vector<std::int32_t> alive;
    std::vector<TuioSet> sets;

    void clear()
    {
        hasAlive = false;
        alive.clear();
        sets.clear();
    }
};

struct TuioSender
{
    std::uint16_t listener = 0;
    SenderAddress address;
    std::uint64_t lastUse = 0;
    std::string sourceText; // as sent; empty: it never named itself
    int source = -1;        // index, -1: not looked up yet
    std::array<TuioPendingFrame, kTuioProfileCount> pending;
};

struct TuioSession
{
    std::int32_t id = 0;
    std::int32_t code = 0;
    float x = 0.f;
    float y = 0.f;
    float angle = 0.f;
    bool isAnnounced = false; // an Appear was written, and no end since
    bool isVoid = false;      // a finger that was cancelled: ignored until it is lifted
};

struct TuioProfileState
{
    bool hasFrame = false;
    bool isOrderLost = false; // the source was silent for long: any lower frame is a restart
    bool mustAnnounce = false;
    std::int32_t lastFrame = 0;
    std::vector<std::int32_t> alive; // ascending, each once
    std::vector<TuioSession> sessions;
};

struct TuioSource
{
    std::uint16_t listener = 0;
    bool isNamed = false;
    std::uint64_t lastUse = 0;
    std::array<TuioProfileState, kTuioProfileCount> profiles;
};
}
