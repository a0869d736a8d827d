#include <Tactile/OscWriter.hpp>

#include <cassert>
#include <cstring>

namespace Tactile
{
namespace
{
constexpr std::size_t kNoSize = static_cast<std::size_t>(-1);
}

void OscWriter::clear()
{
    m_bytes.clear();
    m_sizePlaces.clear();
}

void OscWriter::beginBundle()
{
    openElement();
    add("#bundle");
    put32(0);
    put32(1); // now
}

void OscWriter::endBundle()
{
    closeElement();
}

void OscWriter::beginMessage(std::string_view address, std::string_view typeTags)
{
    openElement();
    add(address);
    if (!typeTags.empty())
        add(typeTags);
}

void OscWriter::endMessage()
{
    closeElement();
}

void OscWriter::add(std::int32_t value)
{
    put32(static_cast<std::uint32_t>(value));
}

void OscWriter::add(float value)
{
    std::uint32_t bits = 0;
    static_assert(sizeof bits == sizeof value);
    std::memcpy(&bits, &value, sizeof bits);
    put32(bits);
}

void OscWriter::add(OscTime time)
{
    put32(static_cast<std::uint32_t>(time.tag >> 32));
    put32(static_cast<std::uint32_t>(time.tag));
}

void OscWriter::add(const std::vector<std::int32_t>& values)
{
    for (const std::int32_t value : values)
        add(value);
}

void OscWriter::add(std::string_view value)
{
    m_bytes.insert(m_bytes.end(), value.begin(), value.end());
    m_bytes.insert(m_bytes.end(), 4 - value.size() % 4, '\0');
}

// Inside a bundle each element follows its size, which is written when the element ends.
void OscWriter::openElement()
{
    if (m_sizePlaces.empty()) {
        m_sizePlaces.push_back(kNoSize);
        return;
    }
    m_sizePlaces.push_back(m_bytes.size());
    put32(0);
}

void OscWriter::closeElement()
{
    assert(!m_sizePlaces.empty() && "an end without its begin");
    const std::size_t place = m_sizePlaces.back();
    m_sizePlaces.pop_back();
    if (place == kNoSize)
        return;
    const auto size = static_cast<std::uint32_t>(m_bytes.size() - place - 4);
    for (std::size_t i = 0; i < 4; ++i)
        m_bytes[place + i] = static_cast<char>(size >> (24 - 8 * i));
}

void OscWriter::put32(std::uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        m_bytes.push_back(static_cast<char>(value >> shift));
}
}
