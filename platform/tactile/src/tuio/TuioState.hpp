#pragma once

#include <Tactile/DatagramSource.hpp>
#include <Tactile/TuioCounters.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// State that the decoders of both versions of TUIO share: for each address that sends, its incomplete frames; for each
/// source, the contacts of its last frames.
namespace Tactile
{
/// Session ids are unique within a channel: one for each profile of TUIO 1.1, in the order of TuioProfile, and one for TUIO 2.0.
enum class TuioChannel : std::uint8_t { Objects, Cursors, Blobs, Components };
/// In the order of kTuioProfileNames.
constexpr std::size_t kTuioChannelCount = kTuioProfileNames.size();

/// The kind of message that reports a contact. In TUIO 2.0 several may report the same session; the last of these kinds
/// decides type and place. An area with a symbol is a marker at the area's place.
enum class TuioShape : std::uint8_t { Area, Symbol, Pointer, Token };

[[nodiscard]] constexpr bool isMarkerShape(TuioShape shape) noexcept
{
    return shape == TuioShape::Symbol || shape == TuioShape::Token;
}

/// Of a frame whose end (fseq, alv) does not come.
inline constexpr std::size_t kMaxPendingSets = 4096;

/// One contact's report in a frame. A Symbol has no place.
struct TuioSet
{
    TuioShape shape = TuioShape::Token;
    std::int32_t session = 0;
    std::int32_t code = 0; // Token, Symbol
    float x = 0.f;
    float y = 0.f;
    float angle = 0.f;
};

/// The frame of one TUIO 1.1 profile until its fseq comes, maybe in a later packet.
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

/// The frame of a TUIO 2.0 sender between its frm and its alv.
struct Tuio2PendingFrame
{
    bool isOpen = false;
    std::int32_t frame = 0;
    std::uint64_t time = 0; // as sent: seconds << 32 | fraction; 0 and 1 mean "now"
    std::uint32_t dimension = 0;
    std::vector<TuioSet> sets;
};

struct TuioSender
{
    std::uint16_t listener = 0;
    SenderAddress address;
    std::uint64_t lastUse = 0;
    std::string sourceText;                  // as sent; empty: it sent no name
    int source = -1;                         // index, -1: not looked up yet
    std::array<TuioPendingFrame, 3> pending; // by TuioProfile
    Tuio2PendingFrame pending2;
};

struct TuioSession
{
    TuioShape shape = TuioShape::Token;
    std::int32_t id = 0;
    std::int32_t code = 0;
    float x = 0.f;
    float y = 0.f;
    float angle = 0.f;
    bool isAnnounced = false; // an Appear was written, and no Vanish or Cancel since
    bool isVoid = false;      // a finger that was cancelled: ignored until it is lifted
};

/// A symbol that was reported before its area.
struct TuioSymbol
{
    std::int32_t session = 0;
    std::int32_t code = 0;
};

struct TuioChannelState
{
    bool hasFrame = false;
    bool isOrderLost = false; // the source was silent for long: any lower frame is a restart
    bool mustAnnounce = false;
    std::int32_t lastFrame = 0;
    std::uint64_t lastTime = 0;      // TUIO 2.0
    std::vector<std::int32_t> alive; // ascending, each once
    std::vector<TuioSession> sessions;
    std::size_t nextSession = 0;     // likely the one that is looked for next
    std::vector<TuioSymbol> symbols; // TUIO 2.0
};

struct TuioSource
{
    std::uint16_t listener = 0;
    bool isNamed = false;
    std::uint64_t lastUse = 0;
    std::array<TuioChannelState, kTuioChannelCount> channels;

    [[nodiscard]] TuioChannelState& channel(TuioChannel c) { return channels[static_cast<std::size_t>(c)]; }
};
}
