#pragma once

#include <Tactile/OscDecoder.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Tactile
{
/// Why something was dropped. Malformed and QueueFull count packets, Late counts frames, the others single messages.
enum class TuioDrop : std::uint8_t {
    Malformed,  ///< not OSC, or a message that does not fit its profile: see TuioCounters::refusals
    Late,       ///< a frame older than one already shown
    NotFinite,  ///< a position or angle that is no number
    OutOfRange, ///< beside the surface, or a negative marker code
    NotAlive,   ///< a set without its alive
    FingerCap,
    MarkerCap,
    SourceCap,
    UnknownMessage, ///< another profile or protocol
    QueueFull,      ///< the main thread has not taken a sample for long
    NoFrame,        ///< TUIO 2.0 outside of a frame, whose beginning was lost
    Unclosed,       ///< a frame whose end (fseq, alv) had not come when the next one began
    IgnoredArea     ///< a contact that appeared in an ignored area: see TuioInput::setIgnoredAreas
};
constexpr std::size_t kTuioDropCount = 13;
using TuioDrops = std::array<std::uint64_t, kTuioDropCount>;

/// Each profile of TUIO 1.1 has frames of its own; those of TUIO 2.0 are counted as one profile.
constexpr std::array<const char*, 4> kTuioProfileNames{"2Dobj", "2Dcur", "2Dblb", "TUIO 2.0"};

/// Frames that took no effect because their end was missing.
struct TuioUnclosedFrames
{
    std::uint64_t count = 0;
    std::uint64_t inARow = 0; ///< since the last frame that was closed
};

struct TuioSourceCounters
{
    std::string name; ///< the source name that was sent, else the address
    std::uint64_t packets = 0;
    std::uint64_t frames = 0; ///< accepted
    TuioDrops drops{};
    std::array<TuioUnclosedFrames, kTuioProfileNames.size()> unclosed{}; ///< in the order of kTuioProfileNames
    std::size_t fingers = 0;                                             ///< now
    std::size_t markers = 0;                                             ///< now
    bool isLost = false;
    std::uint16_t sensorWidth = 0; ///< as a TUIO 2.0 sender gives it; 0: not given
    std::uint16_t sensorHeight = 0;
};

struct TuioCounters
{
    std::uint64_t packets = 0;
    TuioDrops drops{}; ///< of all sources, and of packets without a known source
    std::array<std::uint64_t, kOscRefusalCount> refusals{};
    std::vector<TuioSourceCounters> sources; ///< index: ContactKey::source
};
}
