#pragma once

#include <Bedrock/Export.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Tactile
{
/// A time tag: seconds << 32 | fraction; 1 means "now".
struct OscTime
{
    std::uint64_t tag = 1;
};

/// Writes one OSC packet at a time into a reused buffer. Any one thread.
///
///     writer.clear();
///     writer.beginBundle();
///     writer.addMessage("/tuio/2Dcur", "fseq", 7); // type tags ",si"
///     writer.endBundle();
///     send(writer.packet());
class TAVOLA_EXPORT OscWriter
{
public:
    void clear();
    /// Time tag "now". Bundles nest.
    void beginBundle();
    void endBundle();

    /// Writes a whole message; its type tags follow from the arguments: std::int32_t, float, text, OscTime, and arrays or
    /// vectors of numbers, each element of which is an argument.
    template <class... Arguments>
    void addMessage(std::string_view address, const Arguments&... arguments)
    {
        m_tags.assign(",");
        (appendTag(arguments), ...);
        beginMessage(address, m_tags);
        (add(arguments), ...);
        endMessage();
    }

    // The parts of a message. They are not compared with the type tags, so tests can write damaged messages.
    /// `typeTags` with the leading ','; empty leaves the type tag string out.
    void beginMessage(std::string_view address, std::string_view typeTags);
    void endMessage();
    void add(std::int32_t value);
    void add(float value);
    void add(std::string_view value);
    void add(const char* value) { add(std::string_view(value)); }
    void add(OscTime time);
    void add(const std::vector<std::int32_t>& values);
    template <std::size_t count>
    void add(const std::array<float, count>& values)
    {
        for (const float value : values)
            add(value);
    }

    /// Valid until the next call of a function that writes.
    [[nodiscard]] const std::vector<char>& packet() const noexcept { return m_bytes; }

private:
    void appendTag(std::int32_t) { m_tags += 'i'; }
    void appendTag(float) { m_tags += 'f'; }
    void appendTag(std::string_view) { m_tags += 's'; }
    void appendTag(const char*) { m_tags += 's'; }
    void appendTag(OscTime) { m_tags += 't'; }
    void appendTag(const std::vector<std::int32_t>& values) { m_tags.append(values.size(), 'i'); }
    template <std::size_t count>
    void appendTag(const std::array<float, count>&)
    {
        m_tags.append(count, 'f');
    }

    void openElement();
    void closeElement();
    void put32(std::uint32_t value);

    std::vector<char> m_bytes;
    std::vector<std::size_t> m_sizePlaces; // of the open elements; kNoSize for the outermost
    std::string m_tags;                    // of the message in hand; kept for its memory
};
}
