#include <Tactile/Tuio2Encoder.hpp>

#include <utility>

namespace Tactile
{
Tuio2Encoder::Tuio2Encoder(std::string source, std::uint16_t sensorWidth, std::uint16_t sensorHeight)
    : m_source(std::move(source)), m_dimension(static_cast<std::int32_t>((std::uint32_t(sensorWidth) << 16) | sensorHeight))
{
}

std::uint64_t Tuio2Encoder::timeTag(double seconds) noexcept
{
    return static_cast<std::uint64_t>(seconds * 4294967296.0);
}

void Tuio2Encoder::begin(std::int32_t frame, std::uint64_t timeTag)
{
    m_writer.clear();
    m_writer.beginBundle();
    m_writer.addMessage("/tuio2/frm", frame, OscTime{timeTag}, m_dimension, m_source);
}

void Tuio2Encoder::token(std::int32_t session, std::int32_t code, float x, float y, float angleRadians, std::int32_t typeAndUser)
{
    m_writer.addMessage("/tuio2/tok", session, typeAndUser, code, x, y, angleRadians);
}

void Tuio2Encoder::pointer(std::int32_t session, float x, float y)
{
    constexpr float kAngle = 0.f;
    constexpr float kShear = 0.f;
    constexpr float kRadius = 0.f;
    constexpr float kPress = 1.f;
    m_writer.addMessage("/tuio2/ptr", session, 0, 0, x, y, kAngle, kShear, kRadius, kPress);
}

void Tuio2Encoder::area(std::int32_t session, float x, float y, float angleRadians, float width, float height)
{
    m_writer.addMessage("/tuio2/bnd", session, x, y, angleRadians, width, height, width * height);
}

void Tuio2Encoder::symbol(std::int32_t session, std::int32_t code, std::string_view group, std::string_view data)
{
    m_writer.addMessage("/tuio2/sym", session, 0, code, group, data);
}

const std::vector<char>& Tuio2Encoder::finish(const std::vector<std::int32_t>& sessions)
{
    m_writer.addMessage("/tuio2/alv", sessions);
    m_writer.endBundle();
    return m_writer.packet();
}
}
