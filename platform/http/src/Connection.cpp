#include "Connection.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/file_posix.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
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
/// How much of a refused request is read and dropped, so that the refusal is not lost in a reset of the connection.
constexpr std::size_t kLingerBytes = 1024 * 1024;
/// What the system takes at once, however slowly the client reads. A longer answer is a download.
constexpr int kShortAnswerBytes = 16 * 1024;

std::string httpDate()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    static const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%s, %02d %s %d %02d:%02d:%02d GMT", days[parts.tm_wday], parts.tm_mday,
                  months[parts.tm_mon], 1900 + parts.tm_year, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text.data();
}

QByteArray toBytes(boost::beast::string_view text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

boost::beast::string_view toView(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

bool isHttpError(const error_code& error)
{
    return error.category() == http::make_error_code(http::error::bad_method).category();
}

/// A message on its way out and the state of its sending. The message is complete before it comes here: a
/// serializer looks at the body at once.
template <class Body>
struct Outgoing
{
    explicit Outgoing(http::response<Body>&& complete) : message(std::move(complete)) {}
    http::response<Body> message;
    http::response_serializer<Body> serializer{message};
};

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
    : Member(std::move(address)), m_door(door), m_stream(std::move(socket)), m_buffer(door.limits.headerBytes + kReadAhead)
{
}

Connection::~Connection()
{
    m_door.roster.leave(*this);
    m_door.connections.erase(this);
    m_door.connectionEnded();
}

void Connection::giveUp()
{
    m_stream.close();
    // The last line: this may be the end of the connection.
    m_whileAnswering.reset();
}

void Connection::readNext()
{
    m_parser.emplace();
    m_parser->header_limit(static_cast<std::uint32_t>(m_door.limits.headerBytes));
    m_parser->body_limit(m_door.limits.bodyBytes);
    m_state = State::ReadingHead;
    // One deadline for the whole request: sending a byte now and then does not prolong it.
    m_stream.expires_after(m_door.limits.timeout);
    http::async_read_header(m_stream, m_buffer, *m_parser,
                            [self = shared_from_this()](error_code error, std::size_t) { self->headRead(error); });
}

void Connection::finishUp()
{
    const bool idle = m_state == State::ReadingHead && !m_parser->got_some() && m_buffer.size() == 0;
    if (idle || m_state == State::Lingering)
        m_stream.close();
}

void Connection::headRead(const error_code& error)
{
    if (error)
        return readFailed(error);
    const auto& request = m_parser->get();
    if (request.version() != 10 && request.version() != 11)
        return refuse(505, "This server speaks HTTP/1.1.\n");
    if (request.version() == 11 && request.count(http::field::host) != 1)
        return refuse(400, "The request needs one Host header.\n");
    m_state = State::ReadingBody;
    if (!m_parser->is_done() && beast::iequals(request[http::field::expect], "100-continue")) {
        static const std::string answer = "HTTP/1.1 100 Continue\r\n\r\n";
        asio::async_write(m_stream, asio::buffer(answer), [self = shared_from_this()](error_code written, std::size_t) {
            if (!written)
                self->readBody();
        });
        return;
    }
    readBody();
}

void Connection::readBody()
{
    http::async_read(m_stream, m_buffer, *m_parser, [self = shared_from_this()](error_code error, std::size_t) {
        if (error)
            self->readFailed(error);
        else
            self->answer();
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
    // Out of time (the stream has closed itself) or cut off by the client: there is nothing to answer.
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
    request.body = QByteArray(message.body().data(), static_cast<int>(message.body().size()));
    for (const auto& field : message)
        request.headers.emplace_back(toBytes(field.name_string()), toBytes(field.value()));
    message.body() = std::string();

    m_state = State::Answering;
    m_stream.expires_never();
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
        const std::unique_lock<std::mutex> guard(gate->mutex);
        if (!gate->context)
            return;
        asio::post(*gate->context, [connection, response = std::move(response)]() mutable {
            if (const auto alive = connection.lock())
                alive->answered(std::move(response));
        });
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
        Response later = plainResponse(503, "Many people download something right now. Please try again in a moment.\n");
        later.addHeader("Retry-After", "5");
        return send(std::move(later), keepAlive, headOnly);
    }
    if (response.file.isOpen())
        return sendFile(std::move(response), keepAlive, headOnly);
    if (response.pieces)
        return sendPieces(std::move(response), keepAlive, headOnly);

    const auto size = static_cast<std::uint64_t>(response.body.size());
    if (headOnly)
        return sendHead(response, size, keepAlive);
    http::response<http::string_body> message;
    fillHead(message, response);
    message.content_length(size);
    message.keep_alive(keepAlive);
    message.body() = response.body.toStdString();
    write(std::make_shared<Outgoing<http::string_body>>(std::move(message)), keepAlive);
}

void Connection::sendFile(Response response, bool keepAlive, bool headOnly)
{
    beast::file_posix file;
    file.native_handle(response.file.release());
    error_code error;
    http::file_body::value_type body;
    body.reset(std::move(file), error);
    if (error) {
        Bedrock::Trace::warning("HttpServer # A file could not be read (%s)", error.message().c_str());
        m_door.roster.endDownload(*this);
        return send(plainResponse(500, "The file cannot be read.\n"), keepAlive, headOnly);
    }
    if (headOnly)
        return sendHead(response, body.size(), keepAlive);
    http::response<http::file_body> message;
    fillHead(message, response);
    message.content_length(body.size());
    message.keep_alive(keepAlive);
    message.body() = std::move(body);
    write(std::make_shared<Outgoing<http::file_body>>(std::move(message)), keepAlive);
}

void Connection::sendHead(const Response& response, std::uint64_t size, bool keepAlive)
{
    http::response<http::empty_body> message;
    fillHead(message, response);
    message.content_length(size);
    message.keep_alive(keepAlive);
    write(std::make_shared<Outgoing<http::empty_body>>(std::move(message)), keepAlive);
}

void Connection::fillHead(http::response_header<>& head, const Response& response) const
{
    head.version(m_parser->is_header_done() ? std::min(m_parser->get().version(), 11u) : 11u);
    head.result(static_cast<unsigned>(response.status));
    head.set(http::field::date, httpDate());
    head.set(http::field::content_type, toView(response.contentType));
    // A browser must not guess another type, nor send the address of a page, which is a secret, to other sites.
    head.set("X-Content-Type-Options", "nosniff");
    head.set("Referrer-Policy", "no-referrer");
    for (const auto& [name, value] : response.headers)
        head.set(toView(name), toView(value));
}

template <class Message>
void Connection::write(std::shared_ptr<Message> out, bool keepAlive)
{
    // A deadline for each piece, so that a large file may go to a slow phone but not to one that has gone away.
    m_stream.expires_after(m_door.limits.timeout);
    auto& serializer = out->serializer;
    http::async_write_some(m_stream, serializer,
                           [self = shared_from_this(), out = std::move(out), keepAlive](error_code error, std::size_t) mutable {
                               if (error)
                                   return;
                               if (!out->serializer.is_done())
                                   return self->write(std::move(out), keepAlive);
                               self->written(keepAlive);
                           });
}

void Connection::written(bool keepAlive)
{
    m_door.roster.endDownload(*this);
    m_door.roster.waitsAnew(*this);
    if (keepAlive && !m_door.stopping)
        readNext();
    else
        linger();
}

void Connection::linger()
{
    error_code ignored;
    m_stream.socket().shutdown(Socket::shutdown_send, ignored);
    if (ignored)
        return;
    m_state = State::Lingering;
    m_stream.expires_after(std::min<std::chrono::milliseconds>(m_door.limits.timeout, kLingerTime));
    drain();
}

void Connection::drain()
{
    m_stream.async_read_some(asio::buffer(m_scratch), [self = shared_from_this()](error_code error, std::size_t bytes) {
        self->m_drained += bytes;
        if (!error && self->m_drained < kLingerBytes)
            self->drain();
    });
}

}
