#include <Tactile/TuioEncoder.hpp>

#include <utility>

namespace Tactile
{
const char* tuioAddress(TuioProfile profile) noexcept
{
    switch (profile) {
    case TuioProfile::Objects: return "/tuio/2Dobj";
    case TuioProfile::Cursors: return "/tuio/2Dcur";
    case TuioProfile::Blobs: return "/tuio/2Dblb";
    }
    return "";
}

TuioEncoder::TuioEncoder(std::string source) : m_source(std::move(source)) {}

void TuioEncoder::beginMessage(const char* typeTags, const char* command)
{
    m_writer.beginMessage(tuioAddress(m_profile), typeTags);
    m_writer.addString(command);
}

void TuioEncoder::begin(TuioProfile profile)
{
    m_profile = profile;
    m_writer.clear();
    m_writer.beginBundle();
    if (m_source.empty())
        return;
    beginMessage(",ss", "source");
    m_writer.addString(m_source);
    m_writer.endMessage();
}

void TuioEncoder::alive(const std::vector<std::int32_t>& sessions)
{
    m_tags.assign(",s");
    m_tags.append(sessions.size(), 'i');
    beginMessage(m_tags.c_str(), "alive");
    for (const std::int32_t session : sessions)
        m_writer.addInt(session);
    m_writer.endMessage();
}

void TuioEncoder::setObject(std::int32_t session, std::int32_t code, float x, float y, float angleRadians)
{
    beginMessage(",siiffffffff", "set");
    m_writer.addInt(session);
    m_writer.addInt(code);
    m_writer.addFloat(x);
    m_writer.addFloat(y);
    m_writer.addFloat(angleRadians);
    for (int derivative = 0; derivative < 5; ++derivative)
        m_writer.addFloat(0.f);
    m_writer.endMessage();
}

void TuioEncoder::setCursor(std::int32_t session, float x, float y)
{
    beginMessage(",sifffff", "set");
    m_writer.addInt(session);
    m_writer.addFloat(x);
    m_writer.addFloat(y);
    for (int derivative = 0; derivative < 3; ++derivative)
        m_writer.addFloat(0.f);
    m_writer.endMessage();
}

void TuioEncoder::setBlob(std::int32_t session, float x, float y, float angleRadians, float width, float height)
{
    beginMessage(",sifffffffffff", "set");
    m_writer.addInt(session);
    m_writer.addFloat(x);
    m_writer.addFloat(y);
    m_writer.addFloat(angleRadians);
    m_writer.addFloat(width);
    m_writer.addFloat(height);
    m_writer.addFloat(width * height);
    for (int derivative = 0; derivative < 5; ++derivative)
        m_writer.addFloat(0.f);
    m_writer.endMessage();
}

const std::vector<char>& TuioEncoder::finish(std::int32_t frame)
{
    beginMessage(",si", "fseq");
    m_writer.addInt(frame);
    m_writer.endMessage();
    m_writer.endBundle();
    return m_writer.packet();
}
}
