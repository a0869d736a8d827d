#pragma once

#include <Tactile/DatagramSource.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// What the decoders of both versions of TUIO remember: of each address that sends, the frames that are being put
/// together; of each source, the contacts that its last frames left.
namespace Tactile
{
/// What numbers its sessions for itself: each profile of TUIO 1.1, and TUIO 2.0 as a whole. The first three are in the
/// order of TuioProfile.
enum class TuioChannel : std::uint8_t { Objects, Cursors, Blobs, Components };
constexpr std::size_t kTuioChannelCount = 4;

/// What a contact was seen as. One session of TUIO 2.0 may be several; the last in this list tells what it is and where.
/// An area with a symbol on it is a marker that lies where the area is.
enum class TuioShape : std::uint8_t { Area, Symbol, Pointer, Token };

[[nodiscard]] constexpr bool isMarkerShape(TuioShape shape) noexcept
{
    return shape == TuioShape::Symbol || shape == TuioShape::Token;
}

/// One contact's report in a frame. A Symbol has no place of its own.
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
    std::string sourceText;                  // as sent; empty: it never named itself
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
    bool isAnnounced = false; // an Appear was written, and no end since
    bool isVoid = false;      // a finger that was cancelled: ignored until it is lifted
};

/// A symbol that was named before the area it lies in.
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
