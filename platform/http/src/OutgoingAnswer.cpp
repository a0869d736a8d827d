#include "OutgoingAnswer.hpp"

#include "ResponseHead.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <utility>

namespace Http
{
namespace asio = boost::asio;

namespace
{
/// A body of this size or less leaves with its head, from one piece of memory.
constexpr std::size_t kCopiedBody = 4096;
constexpr int kFilePiece = 16 * 1024;

std::string_view viewOf(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}
}

void OutgoingAnswer::begin(Response response, const Manner& manner, const std::string& date)
{
    m_response = std::move(response);
    m_text.clear();
    m_written = 0;
    m_body = {};
    m_hasChunk = false;

    HeadFacts facts;
    facts.version = manner.version;
    if (m_response.file.isOpen())
        facts.length = static_cast<std::uint64_t>(std::max<qint64>(m_response.file.size(), 0));
    else if (!m_response.pieces)
        facts.length = static_cast<std::uint64_t>(m_response.body.size());
    m_isChunked = !facts.length && manner.version != 10;
    m_keepAlive = manner.keepAlive && (facts.length || m_isChunked);
    facts.keepAlive = m_keepAlive;
    appendHead(m_text, m_response, facts, date);

    m_fileLeft = 0;
    if (manner.headOnly) {
        m_response = {};
    } else if (m_response.file.isOpen()) {
        m_response.pieces = nullptr;
        m_fileLeft = *facts.length;
    } else if (!m_response.pieces) {
        m_body = viewOf(m_response.body);
        if (m_body.size() <= kCopiedBody) {
            m_text.append(m_body);
            m_body = {};
        }
    }
}

void OutgoingAnswer::end()
{
    m_response = {};
    m_body = {};
    m_piece.clear();
}

std::array<asio::const_buffer, 2> OutgoingAnswer::buffers() const
{
    return {asio::const_buffer(m_text.data() + m_written, m_text.size() - m_written),
            asio::const_buffer(m_body.data(), m_body.size())};
}

void OutgoingAnswer::wrote(std::size_t bytes)
{
    const std::size_t ofText = std::min(bytes, m_text.size() - m_written);
    m_written += ofText;
    m_body.remove_prefix(bytes - ofText);
}

OutgoingAnswer::Next OutgoingAnswer::next()
{
    if (m_fileLeft > 0)
        return readFile();
    return m_response.pieces ? makePiece() : Next::End;
}

OutgoingAnswer::Next OutgoingAnswer::readFile()
{
    m_piece.resize(kFilePiece);
    const std::size_t wanted = std::min<std::uint64_t>(m_fileLeft, kFilePiece);
    ssize_t count = -1;
    do
        count = ::read(m_response.file.descriptor(), m_piece.data(), wanted);
    while (count < 0 && errno == EINTR);
    if (count <= 0) {
        Bedrock::Trace::warning("HttpServer # An answer was cut in the middle of its file (%s)",
                                count < 0 ? std::strerror(errno) : "the file became shorter");
        return Next::Failed;
    }
    m_fileLeft -= static_cast<std::uint64_t>(count);
    m_body = viewOf(m_piece).substr(0, static_cast<std::size_t>(count));
    return Next::Bytes;
}

OutgoingAnswer::Next OutgoingAnswer::makePiece()
{
    std::optional<QByteArray> made;
    Bedrock::guarded([&] { made = m_response.pieces(); },
                     [](const char* reason) {
                         Bedrock::Trace::warning("HttpServer # An answer was cut in the middle of its body (%s)", reason);
                     });
    if (!made)
        return Next::Failed;
    m_piece = *std::move(made);
    const bool isEnd = m_piece.isEmpty();
    if (isEnd)
        m_response.pieces = nullptr;
    m_text.clear();
    m_written = 0;
    if (m_isChunked) {
        std::array<char, 32> size;
        std::snprintf(size.data(), size.size(), "%s%x\r\n%s", std::exchange(m_hasChunk, true) ? "\r\n" : "",
                      static_cast<unsigned>(m_piece.size()), isEnd ? "\r\n" : "");
        m_text = size.data();
    }
    m_body = viewOf(m_piece);
    return hasBytes() ? Next::Bytes : Next::End;
}
}
