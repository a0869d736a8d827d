#include "Bedrock/BinaryData.hpp"

#include <cstring>

namespace Bedrock
{
namespace
{
enum Tag : char { kInt32 = 1, kInt64, kFloat32, kString };

template <class T>
void append(QVarLengthArray<char, 128>& bytes, Tag tag, const T& value)
{
    const int position = bytes.size();
    bytes.resize(position + 1 + int(sizeof(T)));
    bytes[position] = tag;
    std::memcpy(bytes.data() + position + 1, &value, sizeof(T));
}

/// Reads the value at `position` if it has that type, and moves the position to its end; false otherwise.
template <class T>
bool readValue(const QVarLengthArray<char, 128>& bytes, int& position, Tag tag, T& value)
{
    if (position >= bytes.size() || bytes[position] != tag)
        return false;
    std::memcpy(&value, bytes.data() + position + 1, sizeof(T));
    position += 1 + int(sizeof(T));
    return true;
}
}

void BinaryData::writeInt32(std::int32_t value)
{
    append(m_bytes, kInt32, value);
}

void BinaryData::writeInt64(std::int64_t value)
{
    append(m_bytes, kInt64, value);
}

void BinaryData::writeFloat32(float value)
{
    append(m_bytes, kFloat32, value);
}

void BinaryData::writeString(const QString& value)
{
    const std::int32_t length = value.size();
    append(m_bytes, kString, length);
    m_bytes.append(reinterpret_cast<const char*>(value.utf16()), length * int(sizeof(char16_t)));
}

std::int32_t BinaryData::readInt32()
{
    std::int32_t value = 0;
    if (!readValue(m_bytes, m_readPosition, kInt32, value))
        m_failed = true;
    return value;
}

std::int64_t BinaryData::readInt64()
{
    std::int64_t value = 0;
    if (!readValue(m_bytes, m_readPosition, kInt64, value))
        m_failed = true;
    return value;
}

float BinaryData::readFloat32()
{
    float value = 0.f;
    if (!readValue(m_bytes, m_readPosition, kFloat32, value))
        m_failed = true;
    return value;
}

QString BinaryData::readString()
{
    std::int32_t length = 0;
    if (!readValue(m_bytes, m_readPosition, kString, length)) {
        m_failed = true;
        return {};
    }
    // The text may stand at an odd address: copy it rather than read it in place.
    QString value(length, Qt::Uninitialized);
    std::memcpy(value.data(), m_bytes.constData() + m_readPosition, std::size_t(length) * sizeof(char16_t));
    m_readPosition += length * int(sizeof(char16_t));
    return value;
}

void BinaryData::rewind() noexcept
{
    m_readPosition = 0;
    m_failed = false;
}

bool BinaryData::hasFailed() const noexcept
{
    return m_failed;
}

bool BinaryData::isAtEnd() const noexcept
{
    return m_readPosition >= m_bytes.size();
}
}
