#pragma once

#include <Bedrock/Export.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Tactile
{
/// Why a whole packet was refused.
enum class OscRefusal : std::uint8_t {
    None,
    Empty,
    TooLarge,
    NotMultipleOfFour,
    UnterminatedString,
    NoAddress,
    ArgumentMismatch,
    ElementSize,
    NestingTooDeep
};
constexpr std::size_t kOscRefusalCount = 9;

/// A phrase for a log line: "a string without an end".
[[nodiscard]] TAVOLA_EXPORT const char* describe(OscRefusal refusal) noexcept;

/// One message inside a packet. A view: valid as long as the packet's bytes.
struct OscMessage
{
    std::string_view address;
    std::string_view typeTags; ///< without the leading ','
    bool hasTypeTags = false;  ///< old senders leave the type tag string out
    const char* arguments = nullptr;
    const char* end = nullptr;
};

/// Reads a message's arguments one after the other. A read fails, and changes nothing, when the type tag is another or the
/// bytes end. A message without type tags has the types that the caller reads.
class TAVOLA_EXPORT OscArgumentReader
{
public:
    explicit OscArgumentReader(const OscMessage& message) noexcept;

    [[nodiscard]] bool readInt(std::int32_t& value) noexcept;
    [[nodiscard]] bool readFloat(float& value) noexcept;
    [[nodiscard]] bool readString(std::string_view& value) noexcept;
    /// Reads floats that are not used.
    [[nodiscard]] bool skipFloats(std::size_t count) noexcept;
    /// A time tag: seconds since 1900 in the upper 32 bits, their fraction in the lower; 1 means "now".
    [[nodiscard]] bool readTime(std::uint64_t& value) noexcept;

    /// Whether all type tags and bytes were read.
    [[nodiscard]] bool atEnd() const noexcept;
    /// Why the last read failed.
    [[nodiscard]] OscRefusal refusal() const noexcept { return m_refusal; }

private:
    [[nodiscard]] bool isNext(char tag) noexcept;

    OscMessage m_message;
    std::size_t m_tag = 0;
    OscRefusal m_refusal = OscRefusal::ArgumentMismatch;
};

/// Receives the messages of a packet, in their order.
class TAVOLA_EXPORT OscMessageSink
{
public:
    /// A result other than None refuses the whole packet and ends its decoding.
    [[nodiscard]] virtual OscRefusal message(const OscMessage& message) = 0;

protected:
    ~OscMessageSink() = default;
};

/// Decodes one OSC packet: a message, or bundles nested up to kMaxNesting. Any one thread; the counts belong to that thread.
///
/// Written here, not taken from a library, because a table on an open network needs a decoder that works in place on the
/// receive buffer, allocates nothing, never reads past `size`, caps the nesting, accepts messages without type tags, and
/// counts each refusal by its cause.
class TAVOLA_EXPORT OscDecoder
{
public:
    static constexpr std::size_t kMaxPacketBytes = 65535;
    static constexpr int kMaxNesting = 4;

    /// Passes each message to `sink`. When a refusal is returned, `sink` has received the messages before the faulty one: a
    /// sink that must not act on half a packet collects them first.
    OscRefusal decode(const char* data, std::size_t size, OscMessageSink& sink);

    /// Packets refused since the beginning, by OscRefusal.
    [[nodiscard]] const std::array<std::uint64_t, kOscRefusalCount>& refusals() const noexcept { return m_refusals; }

private:
    std::array<std::uint64_t, kOscRefusalCount> m_refusals{};
};
}
