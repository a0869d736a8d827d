#include <Tactile/OscDecoder.hpp>

#include <cstring>

namespace Tactile
{
namespace
{
std::uint32_t read32(const char* p) noexcept
{
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return (std::uint32_t(u[0]) << 24) | (std::uint32_t(u[1]) << 16) | (std::uint32_t(u[2]) << 8) | std::uint32_t(u[3]);
}

/// Reads the NUL-ended string at `p`, padded to a multiple of four, and moves `p` to the end of the padding.
bool readPadded(const char*& p, const char* end, std::string_view& value) noexcept
{
    const auto available = static_cast<std::size_t>(end - p);
    const void* nul = available == 0 ? nullptr : std::memchr(p, '\0', available);
    if (!nul)
        return false;
    const auto length = static_cast<std::size_t>(static_cast<const char*>(nul) - p);
    const std::size_t padded = (length / 4 + 1) * 4;
    if (padded > available)
        return false;
    value = {p, length};
    p += padded;
    return true;
}

constexpr char kBundleTag[8] = {'#', 'b', 'u', 'n', 'd', 'l', 'e', '\0'};
constexpr std::size_t kBundleHeaderBytes = 16; // tag and time tag

OscRefusal walkMessage(const char* p, const char* end, OscMessageSink& sink)
{
    OscMessage message;
    if (!readPadded(p, end, message.address))
        return OscRefusal::UnterminatedString;
    if (message.address.empty() || message.address.front() != '/')
        return OscRefusal::NoAddress;
    if (p != end && *p == ',') {
        if (!readPadded(p, end, message.typeTags))
            return OscRefusal::UnterminatedString;
        message.typeTags.remove_prefix(1);
        message.hasTypeTags = true;
    }
    message.arguments = p;
    message.end = end;
    return sink.message(message);
}

// `size` is a multiple of four and not 0.
OscRefusal walk(const char* data, std::size_t size, int depth, OscMessageSink& sink)
{
    if (size < sizeof kBundleTag || std::memcmp(data, kBundleTag, sizeof kBundleTag) != 0)
        return walkMessage(data, data + size, sink);
    if (depth >= OscDecoder::kMaxNesting)
        return OscRefusal::NestingTooDeep;
    if (size < kBundleHeaderBytes)
        return OscRefusal::ElementSize;
    const char* p = data + kBundleHeaderBytes;
    std::size_t left = size - kBundleHeaderBytes;
    while (left > 0) {
        const std::uint32_t element = read32(p);
        p += 4;
        left -= 4;
        if (element == 0 || element % 4 != 0 || element > left)
            return OscRefusal::ElementSize;
        const OscRefusal refusal = walk(p, element, depth + 1, sink);
        if (refusal != OscRefusal::None)
            return refusal;
        p += element;
        left -= element;
    }
    return OscRefusal::None;
}
}

const char* describe(OscRefusal refusal) noexcept
{
    switch (refusal) {
    case OscRefusal::None: return "nothing wrong";
    case OscRefusal::Empty: return "an empty packet";
    case OscRefusal::TooLarge: return "more than 65535 bytes";
    case OscRefusal::NotMultipleOfFour: return "a size that is no multiple of 4";
    case OscRefusal::UnterminatedString: return "a string without an end";
    case OscRefusal::NoAddress: return "a message without an address";
    case OscRefusal::ArgumentMismatch: return "arguments that do not fit the message";
    case OscRefusal::ElementSize: return "an element size that does not fit the packet";
    case OscRefusal::NestingTooDeep: return "bundles nested deeper than 4";
    }
    return "an unknown fault";
}

OscArgumentReader::OscArgumentReader(const OscMessage& message) noexcept : m_message(message) {}

bool OscArgumentReader::isNext(char tag) noexcept
{
    m_refusal = OscRefusal::ArgumentMismatch;
    if (!m_message.hasTypeTags)
        return true;
    return m_tag < m_message.typeTags.size() && m_message.typeTags[m_tag] == tag;
}

bool OscArgumentReader::readInt(std::int32_t& value) noexcept
{
    if (!isNext('i') || m_message.end - m_message.arguments < 4)
        return false;
    value = static_cast<std::int32_t>(read32(m_message.arguments));
    m_message.arguments += 4;
    ++m_tag;
    return true;
}

bool OscArgumentReader::readFloat(float& value) noexcept
{
    if (!isNext('f') || m_message.end - m_message.arguments < 4)
        return false;
    const std::uint32_t bits = read32(m_message.arguments);
    std::memcpy(&value, &bits, sizeof value);
    m_message.arguments += 4;
    ++m_tag;
    return true;
}

bool OscArgumentReader::skipFloats(std::size_t count) noexcept
{
    m_refusal = OscRefusal::ArgumentMismatch;
    if (static_cast<std::size_t>(m_message.end - m_message.arguments) < 4 * count)
        return false;
    if (m_message.hasTypeTags) {
        if (m_message.typeTags.size() - m_tag < count)
            return false;
        for (std::size_t i = 0; i < count; ++i)
            if (m_message.typeTags[m_tag + i] != 'f')
                return false;
    }
    m_message.arguments += 4 * count;
    m_tag += count;
    return true;
}

bool OscArgumentReader::readTime(std::uint64_t& value) noexcept
{
    if (!isNext('t') || m_message.end - m_message.arguments < 8)
        return false;
    value = (std::uint64_t(read32(m_message.arguments)) << 32) | read32(m_message.arguments + 4);
    m_message.arguments += 8;
    ++m_tag;
    return true;
}

bool OscArgumentReader::readString(std::string_view& value) noexcept
{
    if (!isNext('s'))
        return false;
    if (!readPadded(m_message.arguments, m_message.end, value)) {
        m_refusal = OscRefusal::UnterminatedString;
        return false;
    }
    ++m_tag;
    return true;
}

bool OscArgumentReader::atEnd() const noexcept
{
    return m_message.arguments == m_message.end && (!m_message.hasTypeTags || m_tag == m_message.typeTags.size());
}

OscRefusal OscDecoder::decode(const char* data, std::size_t size, OscMessageSink& sink)
{
    OscRefusal refusal = OscRefusal::None;
    if (size == 0)
        refusal = OscRefusal::Empty;
    else if (size > kMaxPacketBytes)
        refusal = OscRefusal::TooLarge;
    else if (size % 4 != 0)
        refusal = OscRefusal::NotMultipleOfFour;
    else
        refusal = walk(data, size, 0, sink);
    if (refusal != OscRefusal::None)
        ++m_refusals[static_cast<std::size_t>(refusal)];
    return refusal;
}
}
