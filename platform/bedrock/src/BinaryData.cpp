#include "Bedrock/BinaryData.hpp"

#include <utility>

namespace Bedrock
{
void BinaryData::writeString(const QString& value)
{
    const std::int32_t length = value.size();
    append(kString, length);
    const int count = length * int(sizeof(char16_t));
    char* const to = room(count);
    std::memcpy(to, value.utf16(), std::size_t(count));
}

QString BinaryData::readString()
{
    const bool hadFailed = std::exchange(m_failed, false);
    const auto length = read<std::int32_t>(kString);
    if (m_failed)
        return {};
    m_failed = hadFailed;
    // The text may stand at an odd address: copy it rather than read it in place.
    QString value(length, Qt::Uninitialized);
    std::memcpy(value.data(), bytes() + m_readPosition, std::size_t(length) * sizeof(char16_t));
    m_readPosition += length * int(sizeof(char16_t));
    return value;
}

char* BinaryData::roomOutside(int begin)
{
    if (m_outside.empty())
        m_outside.assign(m_inside, m_inside + begin);
    m_outside.resize(std::size_t(m_size));
    return m_outside.data() + begin;
}

void BinaryData::copyBytes(const BinaryData& other)
{
    m_outside = other.m_outside;
    if (m_size <= kInside)
        std::memmove(m_inside, other.m_inside, std::size_t(m_size));
}
}
