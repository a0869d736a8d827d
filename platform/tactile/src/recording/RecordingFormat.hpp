#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

/// The file of a recording. A line of text, "tavola-recording 4", a blank and 16 characters that name this recording, then
/// records until the end:
///
///     uint32   size of the body in bytes
///     uint32   check sum of the body: FNV-1a
///     body     one byte for its kind, then
///
///     'N'      a note about the table, ahead of the settings: UTF-8
///     'S'      settings, ahead of everything that follows: float32 x, y, width, height of the table rectangle, pixelPitchMm;
///              float64 holdSeconds; float32 holdDistanceMm, markerOutlineRadiusMm; float64 lostSenderSeconds; uint8 smoothing;
///              float32 minCutoffHz, beta, derivativeCutoffHz of the position and of the rotation filter; float32
///              quietDistancePx, quietRadians
///     'L'      a listener has this rectangle from now on: uint16 index, float32 x, y, width, height
///     'I'      a listener has these ignored areas from now on: uint16 index; for each area a uint16 number of corners, and of
///     each
///              corner float32 x, y in 0 to 1 of the surface. Left out where there are none
///     'D'      a datagram: uint16 listener, float64 seconds of arrival, 16 bytes IPv6 address, uint16 port, its bytes
///     'A'      a result that the frame to come took from the inbox: uint64 job, uint16 part, uint8 kind; uint8 0 for a job
///              inside the process, 1 for an answer from outside, of which the bytes follow, 2 for none from there; 128 more
///              where the private half has the exact answer
///     'F'      a frame took the datagrams since the one before: uint64 number from 1, float64 seconds of its step
///
/// The private half, a file beside it, begins with "tavola-recording-private 4" and the same name. It has the exact note ('N'),
/// then those results ('A') that are shortened in the recording, in the same order.
///
/// Numbers are big-endian. A kind that is not known is skipped. Another layout gets another number in the first line.
namespace Tactile::Recording
{
constexpr std::string_view kFirstWords = "tavola-recording 4 ";
constexpr std::string_view kPrivateFirstWords = "tavola-recording-private 4 ";
constexpr std::string_view kFirstWord = "tavola-recording ";
constexpr std::size_t kIdCharacters = 16;
constexpr std::uint8_t kHasExactAnswer = 128;
constexpr std::size_t kHeadBytes = 8;
constexpr std::size_t kMaxBody = 1 << 25; // far beyond a full datagram, a long answer, a long list of people
constexpr std::uint16_t kMaxListeners = 1024;

enum Kind : char {
    Note = 'N',
    Settings = 'S',
    Listener = 'L',
    IgnoredAreas = 'I',
    DatagramKind = 'D',
    ArrivalKind = 'A',
    FrameKind = 'F'
};

inline std::uint32_t checkSum(const char* data, std::size_t size) noexcept
{
    std::uint32_t sum = 2166136261u;
    for (std::size_t i = 0; i < size; ++i)
        sum = (sum ^ static_cast<unsigned char>(data[i])) * 16777619u;
    return sum;
}

/// Appends records to a buffer.
class Writer
{
public:
    explicit Writer(std::vector<char>& bytes) : m_bytes(bytes) {}

    void begin(Kind kind)
    {
        m_begin = m_bytes.size();
        m_bytes.resize(m_begin + kHeadBytes);
        m_bytes.push_back(kind);
    }
    void end()
    {
        const std::size_t body = m_begin + kHeadBytes;
        const std::size_t size = m_bytes.size() - body;
        put(m_begin, static_cast<std::uint32_t>(size));
        put(m_begin + 4, checkSum(m_bytes.data() + body, size));
    }
    void add8(std::uint8_t value) { m_bytes.push_back(static_cast<char>(value)); }
    void add16(std::uint16_t value) { addBig(value, 2); }
    void add64(std::uint64_t value) { addBig(value, 8); }
    void addFloat(float value)
    {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        addBig(bits, 4);
    }
    void addDouble(double value)
    {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        addBig(bits, 8);
    }
    void addBytes(const void* data, std::size_t size)
    {
        const auto* begin = static_cast<const char*>(data);
        m_bytes.insert(m_bytes.end(), begin, begin + size);
    }

private:
    void addBig(std::uint64_t value, int count)
    {
        for (int i = count; i-- > 0;)
            m_bytes.push_back(static_cast<char>(value >> (8 * i)));
    }
    void put(std::size_t place, std::uint32_t value)
    {
        for (std::size_t i = 0; i < 4; ++i)
            m_bytes[place + i] = static_cast<char>(value >> (24 - 8 * i));
    }

    std::vector<char>& m_bytes;
    std::size_t m_begin = 0;
};

/// Reads a body. Past its end everything is 0 and isGood() false.
class Reader
{
public:
    Reader(const char* data, std::size_t size) : m_data(data), m_left(size) {}

    std::uint8_t read8() { return static_cast<std::uint8_t>(readBig(1)); }
    std::uint16_t read16() { return static_cast<std::uint16_t>(readBig(2)); }
    std::uint32_t read32() { return static_cast<std::uint32_t>(readBig(4)); }
    std::uint64_t read64() { return readBig(8); }
    float readFloat()
    {
        const auto bits = static_cast<std::uint32_t>(readBig(4));
        float value = 0.f;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    double readDouble()
    {
        const std::uint64_t bits = readBig(8);
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    void readBytes(void* data, std::size_t size)
    {
        if (!has(size))
            return;
        std::memcpy(data, m_data, size);
        skip(size);
    }
    [[nodiscard]] const char* rest() const { return m_data; }
    [[nodiscard]] std::size_t left() const { return m_left; }
    [[nodiscard]] bool isGood() const { return m_isGood; }

private:
    bool has(std::size_t size)
    {
        m_isGood = m_isGood && size <= m_left;
        return m_isGood;
    }
    void skip(std::size_t size)
    {
        m_data += size;
        m_left -= size;
    }
    std::uint64_t readBig(std::size_t count)
    {
        if (!has(count))
            return 0;
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < count; ++i)
            value = (value << 8) | static_cast<unsigned char>(m_data[i]);
        skip(count);
        return value;
    }

    const char* m_data;
    std::size_t m_left;
    bool m_isGood = true;
};
}
