#pragma once

#include <Bedrock/Export.hpp>

#include <cstdint>
#include <string_view>
#include <vector>

namespace Tactile
{
/// Writes one OSC packet at a time into a reused buffer. Any one thread.
///
///     writer.clear();
///     writer.beginBundle();
///     writer.beginMessage("/tuio/2Dcur", ",si");
///     writer.addString("fseq");
///     writer.addInt(7);
///     writer.endMessage();
///     writer.endBundle();
///     send(writer.packet());
class TAVOLA_EXPORT OscWriter
{
public:
    void clear();
    /// Time tag "now". Bundles nest.
    void beginBundle();
    void endBundle();
    /// `typeTags` with the leading ','; empty leaves the type tag string out. It is not compared with what is added.
    void beginMessage(std::string_view address, std::string_view typeTags);
    void endMessage();
    void addInt(std::int32_t value);
    void addFloat(float value);
    void addString(std::string_view value);
    void addTime(std::uint64_t tag);

    [[nodiscard]] const std::vector<char>& packet() const noexcept { return m_bytes; }

private:
    void openElement();
    void closeElement();
    void put32(std::uint32_t value);

    std::vector<char> m_bytes;
    std::vector<std::size_t> m_sizePlaces; // of the open elements; kNoSize for the outermost
};
}
