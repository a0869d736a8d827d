#include <Tactile/TuioEncoder.hpp>

#include <array>
#include <utility>

namespace Tactile
{
namespace
{
template <std::size_t count>
constexpr std::array<float, count> kNoDerivatives{};
}

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

void TuioEncoder::begin(TuioProfile profile)
{
    m_address = tuioAddress(profile);
    m_writer.clear();
    m_writer.beginBundle();
    if (!m_source.empty())
        m_writer.addMessage(m_address, "source", m_source);
}

void TuioEncoder::alive(const std::vector<std::int32_t>& sessions)
{
    m_writer.addMessage(m_address, "alive", sessions);
}

void TuioEncoder::setObject(std::int32_t session, std::int32_t code, float x, float y, float angleRadians)
{
    m_writer.addMessage(m_address, "set", session, code, x, y, angleRadians, kNoDerivatives<5>);
}

void TuioEncoder::setCursor(std::int32_t session, float x, float y)
{
    m_writer.addMessage(m_address, "set", session, x, y, kNoDerivatives<3>);
}

void TuioEncoder::setBlob(std::int32_t session, float x, float y, float angleRadians, float width, float height)
{
    m_writer.addMessage(m_address, "set", session, x, y, angleRadians, width, height, width * height, kNoDerivatives<5>);
}

const std::vector<char>& TuioEncoder::finish(std::int32_t frame)
{
    m_writer.addMessage(m_address, "fseq", frame);
    m_writer.endBundle();
    return m_writer.packet();
}
}
