#include "Bedrock/BinaryData.hpp"

#include <utility>

namespace Bedrock
{
void BinaryData::writeString(const QString& value)
{
    const std::int32_t length = value.size();
    append(kString, length);
    m_bytes.append(reinterpret_cast<const char*>(value.utf16()), length * int(sizeof(char16_t)));
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
    std::memcpy(value.data(), m_bytes.constData() + m_readPosition, std::size_t(length) * sizeof(char16_t));
    m_readPosition += length * int(sizeof(char16_t));
    return value;
}
}
