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
    m_writer.beginMessage("/tuio2/frm", ",itis");
    m_writer.addInt(frame);
    m_writer.addTime(timeTag);
    m_writer.addInt(m_dimension);
    m_writer.addString(m_source);
    m_writer.endMessage();
}

void Tuio2Encoder::token(std::int32_t session, std::int32_t code, float x, float y, float angleRadians, std::int32_t typeAndUser)
{
    m_writer.beginMessage("/tuio2/tok", ",iiifff");
    m_writer.addInt(session);
    m_writer.addInt(typeAndUser);
    m_writer.addInt(code);
    m_writer.addFloat(x);
    m_writer.addFloat(y);
    m_writer.addFloat(angleRadians);
    m_writer.endMessage();
}

void Tuio2Encoder::pointer(std::int32_t session, float x, float y)
{
    m_writer.beginMessage("/tuio2/ptr", ",iiiffffff");
    m_writer.addInt(session);
    m_writer.addInt(0);
    m_writer.addInt(0);
    m_writer.addFloat(x);
    m_writer.addFloat(y);
    for (const float value : {0.f, 0.f, 0.f, 1.f}) // angle, shear, radius, press
        m_writer.addFloat(value);
    m_writer.endMessage();
}

void Tuio2Encoder::area(std::int32_t session, float x, float y, float angleRadians, float width, float height)
{
    m_writer.beginMessage("/tuio2/bnd", ",iffffff");
    m_writer.addInt(session);
    m_writer.addFloat(x);
    m_writer.addFloat(y);
    m_writer.addFloat(angleRadians);
    m_writer.addFloat(width);
    m_writer.addFloat(height);
    m_writer.addFloat(width * height);
    m_writer.endMessage();
}

void Tuio2Encoder::symbol(std::int32_t session, std::int32_t code, std::string_view group, std::string_view data)
{
    m_writer.beginMessage("/tuio2/sym", ",iiiss");
    m_writer.addInt(session);
    m_writer.addInt(0);
    m_writer.addInt(code);
    m_writer.addString(group);
    m_writer.addString(data);
    m_writer.endMessage();
}

const std::vector<char>& Tuio2Encoder::finish(const std::vector<std::int32_t>& sessions)
{
    m_tags.assign(",");
    m_tags.append(sessions.size(), 'i');
    m_writer.beginMessage("/tuio2/alv", m_tags);
    for (const std::int32_t session : sessions)
        m_writer.addInt(session);
    m_writer.endMessage();
    m_writer.endBundle();
    return m_writer.packet();
}
}
