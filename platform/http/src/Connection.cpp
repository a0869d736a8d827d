#include "Connection.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/read_size.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/error.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace Http
{
namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::system::error_code;

namespace
{
constexpr std::chrono::seconds kLingerTime{2};
constexpr std::size_t kReadAhead = 16 * 1024;
constexpr std::size_t kMostReadAtOnce = 64 * 1024;
/// Room for so many is made at once.
constexpr std::size_t kUsualHeaders = 8;
/// How much of a refused request is read and dropped, so that the refusal is not lost in a reset of the connection.
constexpr std::size_t kLingerBytes = 1024 * 1024;
/// What the system takes at once, however slowly the client reads. A longer answer is a download.
constexpr int kShortAnswerBytes = 16 * 1024;

QByteArray toBytes(boost::beast::string_view text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

bool isHttpError(const error_code& error)
{
    return error.category() == http::make_error_code(http::error::bad_method).category();
}

}

std::string Connection::clientAddress(asio::ip::address remote, asio::ip::address local)
{
    // A socket of IPv6 sees the clients of IPv4 at mapped addresses.
    for (asio::ip::address* address : {&remote, &local}) {
        if (address->is_v6() && address->to_v6().is_v4_mapped())
            *address = asio::ip::make_address_v4(asio::ip::v4_mapped, address->to_v6());
    }
    if (remote.is_loopback() || remote == local)
        return {};
    // All devices of a link share the network of link-local addresses, so those are counted one by one.
    if (!remote.is_v6() || remote.to_v6().is_link_local())
        return remote.to_string();
    // A device of IPv6 has as many addresses as it likes below a prefix of 64 bits (RFC 4291, interface identifiers).
    auto bytes = remote.to_v6().to_bytes();
    std::fill(bytes.begin() + 8, bytes.end(), static_cast<unsigned char>(0));
    return asio::ip::address_v6(bytes).to_string() + "/64";
}

Connection::Connection(Door& door, Socket socket, std::string address)
    : Member(std::move(address)), m_door(door), m_socket(std::move(socket)), m_buffer(door.limits.headerBytes + kReadAhead)
{
}

Connection::~Connection()
{
    m_door.roster.leave(*this);
    m_door.connections.erase(this);
    m_door.connectionEnded();
}

void Connection::close()
{
    error_code ignored;
    m_socket.close(ignored);
}

void Connection::giveUp()
{
    close();
    // The last line: this may be the end of the connection.
    m_whileAnswering.reset();
}

void Connection::endIfOverdue(Clock::time_point now)
{
    // What is under way on the socket ends with an error, and the connection with it.
    if (m_deadline <= now)
        close();
}

void Connection::readNext()
{
    m_parser.emplace();
    m_parser->header_limit(static_cast<std::uint32_t>(m_door.limits.headerBytes));
    m_parser->body_limit(m_door.limits.bodyBytes);
    m_state = State::ReadingHead;
    // One deadline for the whole request: sending a byte now and then does not prolong it.
    setDeadline(m_door.limits.timeout);
    parse();
}

void Connection::finishUp()
{
    const bool idle = m_state == State::ReadingHead && !m_parser->got_some() && m_buffer.size() == 0;
    if (idle || m_state == State::Lingering)
        close();
}

void Connection::parse()
{
    while (m_state == State::ReadingHead ? !m_parser->is_header_done() : !m_parser->is_done()) {
        error_code error = http::error::need_more;
        if (m_buffer.size() > 0)
            m_buffer.consume(m_parser->put(m_buffer.data(), error));
        if (error == http::error::need_more)
            return readSome();
        if (error)
            return readFailed(error);
    }
    if (m_state == State::ReadingHead)
        headRead();
    else
        answer();
}

void Connection::readSome()
{
    const std::size_t most = beast::read_size(m_buffer, kMostReadAtOnce);
    if (most == 0)
        return readFailed(http::error::buffer_overflow);
    m_socket.async_read_some(m_buffer.prepare(most),
                             [self = shared_from_this()](error_code error, std::size_t bytes) { self->received(error, bytes); });
}

void Connection::received(error_code error, std::size_t bytes)
{
    if (error == asio::error::eof) {
        error = http::error::end_of_stream;
        if (m_parser->got_some())
            m_parser->put_eof(error);
    }
    if (error)
        return readFailed(error);
    m_buffer.commit(bytes);
    parse();
}

void Connection::headRead()
{
    const auto& request = m_parser->get();
    if (request.version() != 10 && request.version() != 11)
        return refuse(505, "This server speaks HTTP/1.1.\n");
    if (request.version() == 11 && request.count(http::field::host) != 1)
        return refuse(400, "The request needs one Host header.\n");
    m_state = State::ReadingBody;
    m_parser->eager(true);
    if (m_parser->is_done() || !beast::iequals(request[http::field::expect], "100-continue"))
        return parse();
    static const std::string goOn = "HTTP/1.1 100 Continue\r\n\r\n";
    asio::async_write(m_socket, asio::buffer(goOn), [self = shared_from_this()](error_code error, std::size_t) {
        if (!error)
            self->parse();
    });
}

void Connection::readFailed(const error_code& error)
{
    if (error == http::error::end_of_stream)
        return linger();
    if (error == http::error::header_limit || error == http::error::buffer_overflow)
        return refuse(431, "The head of the request is too long.\n");
    if (error == http::error::body_limit)
        return refuse(413, "The body of the request is too long.\n");
    if (isHttpError(error))
        return refuse(400, "The request is not HTTP.\n");
    // Out of time, or cut off by the client: there is nothing to answer.
}

void Connection::refuse(int status, const char* text)
{
    send(plainResponse(status, text), false, false);
}

void Connection::answer()
{
    auto& message = m_parser->get();
    Request request;
    request.method = toBytes(message.method_string());
    request.target = toBytes(message.target());
    request.body = toBytes(message.body());
    request.headers.reserve(kUsualHeaders);
    for (const auto& field : message)
        request.headers.emplace_back(toBytes(field.name_string()), toBytes(field.value()));
    message.body() = std::string();

    m_state = State::Answering;
    m_deadline = Clock::time_point::max();
    m_door.roster.setAnswering(*this, true);
    m_whileAnswering = shared_from_this();
    // A handler that throws has let go of the reply, which answers 500.
    Bedrock::guarded([&] { m_door.handler(std::move(request), makeReply()); },
                     [](const char* reason) {
                         Bedrock::Trace::warning("HttpServer # A request failed and was answered with 500 (%s)", reason);
                     });
}

Reply Connection::makeReply()
{
    return Reply([gate = m_door.gate, connection = weak_from_this()](Response&& response) {
        std::unique_lock<std::mutex> guard(gate->mutex);
        if (!gate->context)
            return;
        auto deliver = [connection, response = std::move(response)]() mutable {
            if (const auto alive = connection.lock())
                alive->answered(std::move(response));
        };
        if (!gate->context->get_executor().running_in_this_thread())
            return asio::post(*gate->context, std::move(deliver));
        guard.unlock();
        // A reply may be sent by its destructor, which no exception may leave.
        Bedrock::guarded(
            deliver, [](const char* reason) { Bedrock::Trace::warning("HttpServer # A connection was dropped (%s)", reason); });
    });
}

void Connection::answered(Response response)
{
    if (m_state != State::Answering)
        return;
    const auto self = std::move(m_whileAnswering);
    m_door.roster.setAnswering(*this, false);
    const bool headOnly = m_parser->get().method() == http::verb::head;
    const bool keepAlive = m_parser->keep_alive() && !response.closeConnection && !m_door.stopping;
    send(std::move(response), keepAlive, headOnly);
}

void Connection::send(Response response, bool keepAlive, bool headOnly)
{
    m_state = State::Writing;
    const bool isDownload = !headOnly && (response.file.isOpen() || response.pieces || response.body.size() > kShortAnswerBytes);
    if (isDownload && !m_door.roster.beginDownload(*this)) {
        m_door.warnings.log("Too many downloads at a time; some were answered with 503",
                            std::to_string(m_door.limits.clients.connections) + " connections");
        response = plainResponse(503, "Many people download something right now. Please try again in a moment.\n");
        response.addHeader("Retry-After", "5");
    } else if (response.file.isOpen() && response.file.size() < 0) {
        Bedrock::Trace::warning("HttpServer # A file could not be read (%s)", std::strerror(errno));
        m_door.roster.endDownload(*this);
        response = plainResponse(500, "The file cannot be read.\n");
    }
    OutgoingAnswer::Manner manner;
    manner.version = m_parser->is_header_done() ? std::min(m_parser->get().version(), 11u) : 11u;
    manner.keepAlive = keepAlive;
    manner.headOnly = headOnly;
    m_outgoing.begin(std::move(response), manner, m_door.date.at(std::time(nullptr)));
    // A deadline for each part that leaves, so that a large file may go to a slow phone but not to one that has gone away.
    setDeadline(m_door.limits.timeout);
    writeSome();
}

void Connection::writeSome()
{
    m_socket.async_write_some(m_outgoing.buffers(), [self = shared_from_this()](error_code error, std::size_t bytes) {
        if (!error)
            self->wrote(bytes);
    });
}

void Connection::wrote(std::size_t bytes)
{
    m_outgoing.wrote(bytes);
    const bool isPieceLeft = m_outgoing.hasBytes();
    if (!isPieceLeft) {
        switch (m_outgoing.next()) {
        case OutgoingAnswer::Next::Bytes: break;
        case OutgoingAnswer::Next::End: return written();
        case OutgoingAnswer::Next::Failed: return close(); // this may be the end of the connection
        }
    }
    // What is made while it is sent has one for each piece.
    if (!isPieceLeft || !m_outgoing.isMade())
        setDeadline(m_door.limits.timeout);
    writeSome();
}

void Connection::written()
{
    m_outgoing.end();
    m_door.roster.endDownload(*this);
    m_door.roster.waitsAnew(*this);
    if (m_outgoing.keepsConnection() && !m_door.stopping)
        readNext();
    else
        linger();
}

void Connection::linger()
{
    error_code ignored;
    m_socket.shutdown(Socket::shutdown_send, ignored);
    if (ignored)
        return;
    m_state = State::Lingering;
    setDeadline(std::min<std::chrono::milliseconds>(m_door.limits.timeout, kLingerTime));
    drain();
}

void Connection::drain()
{
    m_socket.async_read_some(asio::buffer(m_scratch), [self = shared_from_this()](error_code error, std::size_t bytes) {
        self->m_drained += bytes;
        if (!error && self->m_drained < kLingerBytes)
            self->drain();
    });
}

}
