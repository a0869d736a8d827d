#pragma once

#include <Tactile/OscWriter.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tactile
{
/// Writes TUIO 2.0 bundles, one frame at a time, into a reused buffer; for senders and tests. Derivatives are left out.
///
///     Tuio2Encoder encoder("visit@localhost");
///     encoder.begin(12, Tuio2Encoder::timeTag(seconds));
///     encoder.token(5, 1001, 0.5f, 0.5f, 0.f);
///     encoder.pointer(6, 0.1f, 0.9f);
///     send(encoder.finish({5, 6}));
class TAVOLA_EXPORT Tuio2Encoder
{
public:
    static constexpr std::uint64_t kNoTime = 1; ///< the time tag "now": frames are ordered by their numbers only

    explicit Tuio2Encoder(std::string source = {}, std::uint16_t sensorWidth = 0, std::uint16_t sensorHeight = 0);

    /// `seconds` from any beginning, above 0, as a time tag.
    [[nodiscard]] static std::uint64_t timeTag(double seconds) noexcept;

    /// Opens a frame. Number 0 takes no part in the order of frames.
    void begin(std::int32_t frame, std::uint64_t timeTag = kNoTime);
    void token(std::int32_t session, std::int32_t code, float x, float y, float angleRadians, std::int32_t typeAndUser = 0);
    void pointer(std::int32_t session, float x, float y);
    void area(std::int32_t session, float x, float y, float angleRadians, float width, float height);
    void symbol(std::int32_t session, std::int32_t code, std::string_view group, std::string_view data);
    /// Ends the bundle with its alv. The packet is valid until the next begin.
    const std::vector<char>& finish(const std::vector<std::int32_t>& sessions);

private:
    std::string m_source;
    std::int32_t m_dimension;
    OscWriter m_writer;
};
}
