#pragma once

#include "tuio/TuioState.hpp"

#include <Tactile/OscDecoder.hpp>
#include <Tactile/TuioEncoder.hpp>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Tactile
{
/// One message of either version of TUIO. Which members are set depends on `kind`.
struct TuioOperation
{
    enum class Kind : std::uint8_t {
        Source,     ///< TUIO 1.1: source
        BeginFrame, ///< TUIO 2.0: frame, time, dimension, source
        Set,        ///< set
        Alive,      ///< aliveBegin, aliveEnd; ends a frame of TUIO 2.0
        EndFrame    ///< TUIO 1.1: frame
    };
    Kind kind = Kind::Set;
    TuioProfile profile = TuioProfile::Objects; ///< TUIO 1.1
    std::string_view source;                    ///< points into the packet
    std::int32_t frame = 0;
    std::uint64_t time = 0;
    std::int32_t dimension = 0;
    std::size_t aliveBegin = 0; ///< half-open range of the packet's ids
    std::size_t aliveEnd = 0;
    TuioSet set;
};

/// The messages of one version of TUIO in a packet. All are read before the first takes effect, so that a damaged packet
/// leaves the state as it was.
class TuioMessages
{
public:
    void clear();
    [[nodiscard]] bool isEmpty() const noexcept { return m_operations.empty(); }
    [[nodiscard]] const std::vector<TuioOperation>& operations() const noexcept { return m_operations; }

    /// Appends `message`, which `readArguments(reader, operation)` reads: true when all of it fitted. When that sets `isKnown`
    /// to false, the message is skipped.
    template <class ReadArguments>
    [[nodiscard]] OscRefusal read(const OscMessage& message, bool& isKnown, ReadArguments readArguments)
    {
        isKnown = true;
        TuioOperation operation;
        OscArgumentReader reader(message);
        const bool isRead = readArguments(reader, operation);
        if (!isKnown)
            return OscRefusal::None;
        if (!isRead)
            return reader.refusal();
        if (!reader.atEnd())
            return OscRefusal::ArgumentMismatch;
        m_operations.push_back(operation);
        return OscRefusal::None;
    }

    /// Reads the rest of a message as the ids of an alive list.
    [[nodiscard]] bool readAlive(OscArgumentReader& reader, TuioOperation& operation);
    /// Copies these ids into `ids`.
    void copyAlive(const TuioOperation& operation, std::vector<std::int32_t>& ids) const;

private:
    std::vector<TuioOperation> m_operations;
    std::vector<std::int32_t> m_aliveIds;
};

/// Reads x, y and angle.
[[nodiscard]] bool readPose(OscArgumentReader& reader, TuioSet& set);
}
