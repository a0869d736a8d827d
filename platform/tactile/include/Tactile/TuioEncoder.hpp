#pragma once

#include <Tactile/OscWriter.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Tactile
{
enum class TuioProfile : std::uint8_t { Objects, Cursors, Blobs };
constexpr std::size_t kTuioProfileCount = 3;

/// "/tuio/2Dobj" and its like.
[[nodiscard]] TAVOLA_EXPORT const char* tuioAddress(TuioProfile profile) noexcept;

/// Writes TUIO 1.1 bundles, one at a time, into a reused buffer; for senders and tests. Derivatives are sent as 0.
///
///     TuioEncoder encoder("visit@localhost");
///     encoder.begin(TuioProfile::Objects);
///     encoder.alive({5});
///     encoder.setObject(5, 1001, 0.5f, 0.5f, 0.f);
///     send(encoder.finish(12));
class TAVOLA_EXPORT TuioEncoder
{
public:
    /// Empty: no source message.
    explicit TuioEncoder(std::string source = {});

    void begin(TuioProfile profile);
    void alive(const std::vector<std::int32_t>& sessions);
    void setObject(std::int32_t session, std::int32_t code, float x, float y, float angleRadians);
    void setCursor(std::int32_t session, float x, float y);
    void setBlob(std::int32_t session, float x, float y, float angleRadians, float width, float height);
    /// Ends the bundle with its fseq. The packet is valid until the next begin.
    const std::vector<char>& finish(std::int32_t frame);

private:
    std::string m_source;
    const char* m_address = tuioAddress(TuioProfile::Objects);
    OscWriter m_writer;
};
}
