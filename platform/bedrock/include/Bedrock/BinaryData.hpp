#pragma once

#include <Bedrock/Export.hpp>

#include <QString>
#include <QVarLengthArray>

#include <cstdint>

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
    void writeInt32(std::int32_t value);
    void writeInt64(std::int64_t value);
    void writeFloat32(float value);
    void writeString(const QString& value);

    [[nodiscard]] std::int32_t readInt32();
    [[nodiscard]] std::int64_t readInt64();
    [[nodiscard]] float readFloat32();
    [[nodiscard]] QString readString();

    /// Back to the first value; clears `hasFailed()`.
    void rewind() noexcept;
    [[nodiscard]] bool hasFailed() const noexcept;
    [[nodiscard]] bool isAtEnd() const noexcept;

private:
    QVarLengthArray<char, 128> m_bytes;
    int m_readPosition = 0;
    bool m_failed = false;
};
}
