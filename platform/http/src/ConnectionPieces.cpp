// How a connection sends a body that is made while it is sent.

#include "Connection.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <boost/asio/write.hpp>
#include <boost/beast/http.hpp>

#include <utility>

namespace Http
{
namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;

/// The answer on its way, and the piece that is being written.
struct Connection::Pieces
{
    explicit Pieces(http::response<http::empty_body>&& head) : message(std::move(head)) {}
    http::response<http::empty_body> message;
    http::response_serializer<http::empty_body> serializer{message};
    BodyPieces next;
    QByteArray piece;
    bool isChunked = false; ///< otherwise the end of the connection is that of the body
    bool keepAlive = false;
};

void Connection::sendPieces(Response response, bool keepAlive, bool headOnly)
{
    http::response<http::empty_body> message;
    fillHead(message, response);
    const bool isChunked = message.version() == 11;
    message.chunked(isChunked);
    message.keep_alive(keepAlive && isChunked);
    const auto pieces = std::make_shared<Pieces>(std::move(message));
    pieces->next = std::move(response.pieces);
    pieces->isChunked = isChunked;
    pieces->keepAlive = keepAlive && isChunked;
    m_stream.expires_after(m_door.limits.timeout);
    http::async_write_header(m_stream, pieces->serializer,
                             [self = shared_from_this(), pieces, headOnly](error_code error, std::size_t) {
                                 if (error)
                                     return;
                                 if (headOnly)
                                     self->written(pieces->keepAlive);
                                 else
                                     self->writePiece(pieces);
                             });
}

void Connection::writePiece(const std::shared_ptr<Pieces>& pieces)
{
    std::optional<QByteArray> next;
    Bedrock::guarded([&] { next = pieces->next(); },
                     [](const char* reason) {
                         Bedrock::Trace::warning("HttpServer # An answer was cut in the middle of its body (%s)", reason);
                     });
    if (!next)
        return m_stream.close(); // this may be the end of the connection
    pieces->piece = *std::move(next);
    const bool isLast = pieces->piece.isEmpty();
    if (isLast && !pieces->isChunked)
        return written(false);
    m_stream.expires_after(m_door.limits.timeout);
    auto written = [self = shared_from_this(), pieces, isLast](error_code error, std::size_t) {
        if (error)
            return;
        if (isLast)
            self->written(pieces->keepAlive);
        else
            self->writePiece(pieces);
    };
    const auto bytes = asio::buffer(pieces->piece.constData(), static_cast<std::size_t>(pieces->piece.size()));
    if (isLast)
        asio::async_write(m_stream, http::make_chunk_last(), std::move(written));
    else if (pieces->isChunked)
        asio::async_write(m_stream, http::make_chunk(bytes), std::move(written));
    else
        asio::async_write(m_stream, bytes, std::move(written));
}
}
