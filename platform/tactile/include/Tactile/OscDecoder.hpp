#pragma once

#include <Bedrock/Export.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Tactile
{
/// Why a packet was refused as a whole.
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

/// In words, for a log line: "a string without an end".
[[nodiscard]] TAVOLA_EXPORT const char* describe(OscRefusal refusal) noexcept;

/// One message inside a packet. A view: lives as long as the packet's bytes.
struct OscMessage
{
    std::string_view address;
    std::string_view typeTags; ///< without the leading ','
    bool hasTypeTags = false;  ///< old senders leave the type tag string out
    const char* arguments = nullptr;
    const char* end = nullptr;
};

/// Reads a message's arguments one after the other. Each read fails (and changes nothing) where the type tag says
/// otherwise or the bytes end; a message without type tags is read as what the caller expects.
class TAVOLA_EXPORT OscArgumentReader
{
public:
    explicit OscArgumentReader(const OscMessage& message) noexcept;

    [[nodiscard]] bool readInt(std::int32_t& value) noexcept;
    [[nodiscard]] bool readFloat(float& value) noexcept;
    [[nodiscard]] bool readString(std::string_view& value) noexcept;
    /// A time tag: seconds since 1900 in the upper 32 bits, their fraction in the lower; 1 means "now".
    [[nodiscard]] bool readTime(std::uint64_t& value) noexcept;

    /// Neither a type tag nor a byte is left.
    [[nodiscard]] bool atEnd() const noexcept;
    /// What was wrong with the read that failed.
    [[nodiscard]] OscRefusal refusal() const noexcept { return m_refusal; }

private:
    [[nodiscard]] bool take(char tag) noexcept;

    OscMessage m_message;
    std::size_t m_tag = 0;
    OscRefusal m_refusal = OscRefusal::ArgumentMismatch;
};

/// Takes the messages of a packet in their order.
class TAVOLA_EXPORT OscMessageSink
{
public:
    /// Anything but None refuses the whole packet and ends its decoding.
    [[nodiscard]] virtual OscRefusal message(const OscMessage& message) = 0;

protected:
    ~OscMessageSink() = default;
};

/// Walks the messages of one OSC packet (a message, or bundles nested up to kMaxNesting).
///
/// It is our own rather than a library's because of what a table on an open network asks for: it works in place on the
/// reused receive buffer and allocates nothing, never reads past `size` whatever the bytes say, caps the nesting, tolerates
/// a missing type tag string, and counts each refusal by its cause. Any one thread; the counts belong to that thread.
class TAVOLA_EXPORT OscDecoder
{
public:
    static constexpr std::size_t kMaxPacketBytes = 65535;
    static constexpr int kMaxNesting = 4;

    /// Messages ahead of a faulty one have been given to `sink` already when a refusal is returned: a sink that must not
    /// act on half a packet collects first.
    OscRefusal decode(const char* data, std::size_t size, OscMessageSink& sink);

    /// Packets refused since the beginning, by OscRefusal.
    [[nodiscard]] const std::array<std::uint64_t, kOscRefusalCount>& refusals() const noexcept { return m_refusals; }

private:
    std::array<std::uint64_t, kOscRefusalCount> m_refusals{};
};
}
