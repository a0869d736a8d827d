#pragma once

#include <Bedrock/Export.hpp>

#include <QString>

#include <cstdint>
#include <cstring>
#include <vector>

namespace Bedrock
{
/// Typed values written one after the other and read back in the same order: the payload of an event.
/// Payloads of usual size live inside the object, so that sending an event allocates nothing.
///
/// Every value carries its type; reading another type than was written, or past the end, returns a zero value, sets
/// `hasFailed()` and leaves the read position where it was.
class TAVOLA_EXPORT BinaryData
{
public:
    BinaryData() noexcept {}
    BinaryData(const BinaryData& other) : m_size(other.m_size), m_readPosition(other.m_readPosition), m_failed(other.m_failed)
    {
        copyBytes(other);
    }
    BinaryData& operator=(const BinaryData& other)
    {
        m_size = other.m_size;
        m_readPosition = other.m_readPosition;
        m_failed = other.m_failed;
        copyBytes(other);
        return *this;
    }
    ~BinaryData() = default;

    void writeInt32(std::int32_t value) { append(kInt32, value); }
    void writeInt64(std::int64_t value) { append(kInt64, value); }
    void writeFloat32(float value) { append(kFloat32, value); }
    void writeString(const QString& value);
    /// By the type of the value.
    void write(std::int32_t value) { writeInt32(value); }
    void write(std::int64_t value) { writeInt64(value); }
    void write(float value) { writeFloat32(value); }
    void write(const QString& value) { writeString(value); }

    [[nodiscard]] std::int32_t readInt32() { return read<std::int32_t>(kInt32); }
    [[nodiscard]] std::int64_t readInt64() { return read<std::int64_t>(kInt64); }
    [[nodiscard]] float readFloat32() { return read<float>(kFloat32); }
    [[nodiscard]] QString readString();

    /// Back to the first value; clears `hasFailed()`.
    void rewind() noexcept
    {
        m_readPosition = 0;
        m_failed = false;
    }
    [[nodiscard]] bool hasFailed() const noexcept { return m_failed; }
    [[nodiscard]] bool isAtEnd() const noexcept { return m_readPosition >= m_size; }

private:
    enum Tag : char { kInt32 = 1, kInt64, kFloat32, kString };

    template <class T>
    void append(Tag tag, const T& value)
    {
        char* const to = room(1 + int(sizeof(T)));
        *to = tag;
        std::memcpy(to + 1, &value, sizeof(T));
    }
    /// Adds so many bytes, which the caller writes. Their place holds until the next ones are added.
    [[nodiscard]] char* room(int count)
    {
        const int begin = m_size;
        m_size += count;
        return m_size <= kInside ? m_inside + begin : roomOutside(begin);
    }
    [[nodiscard]] char* roomOutside(int begin);
    void copyBytes(const BinaryData& other);
    [[nodiscard]] const char* bytes() const noexcept { return m_size <= kInside ? m_inside : m_outside.data(); }
    /// The value at the read position if it has that type, which moves the position to its end; a failure, and 0, otherwise.
    template <class T>
    T read(Tag tag)
    {
        T value{};
        if (isAtEnd() || bytes()[m_readPosition] != tag) {
            m_failed = true;
            return value;
        }
        std::memcpy(&value, bytes() + m_readPosition + 1, sizeof(T));
        m_readPosition += 1 + int(sizeof(T));
        return value;
    }

    static constexpr int kInside = 128;

    int m_size = 0;
    int m_readPosition = 0;
    bool m_failed = false;
    char m_inside[kInside];      ///< as far as `m_size` says
    std::vector<char> m_outside; ///< all of the payload, once it does not fit inside
};
}
