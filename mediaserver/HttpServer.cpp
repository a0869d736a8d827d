#include "HttpServer.hpp"

#include "Log.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <array>
#include <csignal>
#include <ctime>
#include <unordered_set>

namespace MediaServer {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

constexpr std::chrono::seconds kGraceTime { 2 };
constexpr std::chrono::milliseconds kAcceptPause { 100 };
constexpr std::size_t kReadAhead = 16 * 1024;
/// How much of a refused request is read and dropped, so that the refusal is not lost in a reset of the connection.
constexpr std::size_t kLingerBytes = 1024 * 1024;

std::string httpDate()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts {};
    ::gmtime_r(&now, &parts);
    static const char* const days[] = { "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" };
    static const char* const months[] = { "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec" };
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
    return { bytes.constData(), static_cast<std::size_t>(bytes.size()) };
}

bool isHttpError(const error_code& error)
{
    return error.category() == http::make_error_code(http::error::bad_method).category();
}

/// A message on its way out and the state of its sending. The message is complete before it comes here: a
/// serializer looks at the body at once.
template <class Body>
struct Outgoing {
    explicit Outgoing(http::response<Body>&& complete) : message(std::move(complete)) { }
    http::response<Body> message;
    http::response_serializer<Body> serializer { message };
};

} // namespace

struct HttpServer::Private {
    explicit Private(const HttpLimits& limitsToKeep) : limits(limitsToKeep) { }
    ~Private() { tornDown = true; }

    void acceptNext();
    void accepted(const error_code& error, tcp::socket socket);
    void connectionEnded(Connection* connection);
    void beginStop();

    HttpLimits limits;
    Handler handler;
    // Connections that are left when the context goes away report their end: these two outlive it.
    bool tornDown = false;
    std::unordered_set<Connection*> connections;
    asio::io_context io { 1 };
    tcp::acceptor acceptor { io };
    asio::signal_set signals { io };
    asio::steady_timer acceptTimer { io };
    asio::steady_timer graceTimer { io };
    bool accepting = false;
    bool stopping = false;
};

/// One client. It lives as long as an operation on its socket is under way: each holds a shared pointer.
///
///     reading head -> reading body -> writing -+-> reading head (kept connection)
///                 \______________\_____________+-> lingering -> gone
class HttpServer::Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(Private& server, tcp::socket socket)
        : m_server(server)
        , m_stream(std::move(socket))
        , m_buffer(server.limits.headerBytes + kReadAhead)
    {
        m_server.connections.insert(this);
    }

    ~Connection() { m_server.connectionEnded(this); }

    void readNext()
    {
        m_parser.emplace();
        m_parser->header_limit(static_cast<std::uint32_t>(m_server.limits.headerBytes));
        m_parser->body_limit(m_server.limits.bodyBytes);
        m_state = State::ReadingHead;
        // One deadline for the whole request: sending a byte now and then does not prolong it.
        m_stream.expires_after(m_server.limits.timeout);
        http::async_read_header(m_stream, m_buffer, *m_parser, [self = shared_from_this()](error_code error, std::size_t) {
            self->headRead(error);
        });
    }

    /// The server stops: who waits for a request that has not begun goes at once, everybody else after the answer.
    void finishUp()
    {
        const bool idle = m_state == State::ReadingHead && !m_parser->got_some() && m_buffer.size() == 0;
        if (idle || m_state == State::Lingering)
            m_stream.close();
    }

private:
    enum class State { ReadingHead, ReadingBody, Writing, Lingering };

    void headRead(const error_code& error)
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

    void readBody()
    {
        http::async_read(m_stream, m_buffer, *m_parser, [self = shared_from_this()](error_code error, std::size_t) {
            if (error)
                self->readFailed(error);
            else
                self->answer();
        });
    }

    void readFailed(const error_code& error)
    {
        if (error == http::error::end_of_stream)
            return linger();
        if (error == http::error::header_limit || error == http::error::buffer_overflow)
            return refuse(431, "The head of the request is too long.\n");
        if (error == http::error::body_limit)
            return refuse(413, "The body of the request is too long.\n");
        if (isHttpError(error))
            return refuse(400, "The request is not HTTP.\n");
        // Out of time (the stream has closed itself) or cut off by the client: nobody listens any more.
    }

    void refuse(int status, const char* text) { send(plainResponse(status, text), false, false); }

    void answer()
    {
        const auto& message = m_parser->get();
        HttpRequest request;
        request.method = toBytes(message.method_string());
        request.target = toBytes(message.target());
        request.body = QByteArray(message.body().data(), static_cast<int>(message.body().size()));

        HttpResponse response;
        try {
            response = m_server.handler(request);
        } catch (const std::exception& error) {
            logWarning(QStringLiteral("A request failed and was answered with 500"), QString::fromLocal8Bit(error.what()));
            response = plainResponse(500, "Something went wrong here. Please try again.\n");
        } catch (...) {
            logWarning(QStringLiteral("A request failed and was answered with 500"), QStringLiteral("unknown exception"));
            response = plainResponse(500, "Something went wrong here. Please try again.\n");
        }
        send(std::move(response), m_parser->keep_alive() && !m_server.stopping, request.method == "HEAD");
    }

    void send(HttpResponse response, bool keepAlive, bool headOnly)
    {
        m_state = State::Writing;
        if (response.file.isOpen()) {
            beast::file_posix file;
            file.native_handle(response.file.release());
            error_code error;
            http::file_body::value_type body;
            body.reset(std::move(file), error);
            if (error) {
                logWarning(QStringLiteral("A file could not be read"), QString::fromStdString(error.message()));
                return send(plainResponse(500, "The file cannot be read.\n"), keepAlive, headOnly);
            }
            if (headOnly)
                return sendHead(response, body.size(), keepAlive);
            http::response<http::file_body> message;
            fillHead(message, response, body.size(), keepAlive);
            message.body() = std::move(body);
            return write(std::make_shared<Outgoing<http::file_body>>(std::move(message)), keepAlive);
        }
        const auto size = static_cast<std::uint64_t>(response.body.size());
        if (headOnly)
            return sendHead(response, size, keepAlive);
        http::response<http::string_body> message;
        fillHead(message, response, size, keepAlive);
        message.body() = response.body.toStdString();
        write(std::make_shared<Outgoing<http::string_body>>(std::move(message)), keepAlive);
    }

    void sendHead(const HttpResponse& response, std::uint64_t size, bool keepAlive)
    {
        http::response<http::empty_body> message;
        fillHead(message, response, size, keepAlive);
        write(std::make_shared<Outgoing<http::empty_body>>(std::move(message)), keepAlive);
    }

    template <class Message>
    void fillHead(Message& message, const HttpResponse& response, std::uint64_t size, bool keepAlive)
    {
        message.version(m_parser->is_header_done() ? std::min(m_parser->get().version(), 11u) : 11u);
        message.result(static_cast<unsigned>(response.status));
        message.set(http::field::date, httpDate());
        message.set(http::field::content_type, toView(response.contentType));
        // The type is what is said here and is not to be guessed; a page's address is a secret and is told to nobody.
        message.set("X-Content-Type-Options", "nosniff");
        message.set("Referrer-Policy", "no-referrer");
        for (const auto& [name, value] : response.headers)
            message.set(toView(name), toView(value));
        message.content_length(size);
        message.keep_alive(keepAlive);
    }

    template <class Body>
    void write(std::shared_ptr<Outgoing<Body>> out, bool keepAlive)
    {
        // A deadline for each piece, so that a large file may go to a slow phone but not to one that has gone away.
        m_stream.expires_after(m_server.limits.timeout);
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

    void written(bool keepAlive)
    {
        if (keepAlive && !m_server.stopping)
            readNext();
        else
            linger();
    }

    /// Says that nothing more comes and reads what the client still sends, within bounds, before the socket is closed.
    void linger()
    {
        error_code ignored;
        m_stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
        if (ignored)
            return;
        m_state = State::Lingering;
        m_stream.expires_after(std::min<std::chrono::milliseconds>(m_server.limits.timeout, kGraceTime));
        drain();
    }

    void drain()
    {
        m_stream.async_read_some(asio::buffer(m_scratch), [self = shared_from_this()](error_code error, std::size_t bytes) {
            self->m_drained += bytes;
            if (!error && self->m_drained < kLingerBytes)
                self->drain();
        });
    }

    Private& m_server;
    beast::tcp_stream m_stream;
    beast::flat_buffer m_buffer;
    boost::optional<http::request_parser<http::string_body>> m_parser;
    State m_state = State::ReadingHead;
    std::size_t m_drained = 0;
    std::array<char, 4096> m_scratch;
};

void HttpServer::Private::acceptNext()
{
    if (accepting || stopping || connections.size() >= limits.connections)
        return;
    accepting = true;
    acceptor.async_accept([this](error_code error, tcp::socket socket) {
        accepting = false;
        accepted(error, std::move(socket));
    });
}

void HttpServer::Private::accepted(const error_code& error, tcp::socket socket)
{
    if (stopping)
        return;
    if (error == asio::error::connection_aborted)
        return acceptNext();
    if (error) {
        // Most likely out of descriptors, which passes when connections end; trying at once would only burn time.
        logWarning(QStringLiteral("A connection could not be accepted"), QString::fromStdString(error.message()));
        acceptTimer.expires_after(kAcceptPause);
        acceptTimer.async_wait([this](error_code cancelled) {
            if (!cancelled)
                acceptNext();
        });
        return;
    }
    error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    std::make_shared<Connection>(*this, std::move(socket))->readNext();
    acceptNext();
}

void HttpServer::Private::connectionEnded(Connection* connection)
{
    connections.erase(connection);
    if (tornDown)
        return;
    if (!stopping)
        acceptNext();
    else if (connections.empty())
        graceTimer.cancel();
}

void HttpServer::Private::beginStop()
{
    if (stopping)
        return;
    stopping = true;
    error_code ignored;
    acceptor.close(ignored);
    signals.cancel(ignored);
    acceptTimer.cancel();
    for (Connection* connection : connections)
        connection->finishUp();
    if (connections.empty())
        return;
    graceTimer.expires_after(kGraceTime);
    graceTimer.async_wait([this](error_code cancelled) {
        if (!cancelled)
            io.stop();
    });
}

HttpServer::HttpServer(const HttpLimits& limits)
    : d(std::make_unique<Private>(limits))
{
}

HttpServer::~HttpServer() = default;

Result<HttpServer::Listening> HttpServer::listen(const QString& address, quint16 port)
{
    error_code error;
    const QString numeric = address == QLatin1String("localhost") ? QStringLiteral("127.0.0.1") : address;
    const auto parsed = asio::ip::make_address(numeric.toStdString(), error);
    if (error)
        return tl::unexpected(QStringLiteral("\"%1\" is not a numeric address such as 127.0.0.1 or ::1").arg(address));

    const tcp::endpoint wanted(parsed, port);
    const auto failed = [&](const char* step) {
        return tl::unexpected(QStringLiteral("Cannot %1 %2 port %3: %4")
                                  .arg(QLatin1String(step), address)
                                  .arg(port)
                                  .arg(QString::fromStdString(error.message())));
    };
    if (d->acceptor.open(wanted.protocol(), error))
        return failed("open a socket for");
    // A restarted server takes its port over from connections that are still winding down.
    d->acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (d->acceptor.bind(wanted, error))
        return failed("listen on");
    if (d->acceptor.listen(tcp::acceptor::max_listen_connections, error))
        return failed("listen on");

    Listening listening;
    listening.port = d->acceptor.local_endpoint().port();
    listening.everywhere = parsed.is_unspecified();
    const QString host = QString::fromStdString(parsed.to_string());
    listening.url = (parsed.is_v6() ? QStringLiteral("http://[%1]:%2/") : QStringLiteral("http://%1:%2/"))
                        .arg(host)
                        .arg(listening.port);
    return listening;
}

void HttpServer::stopOnSignals()
{
    d->signals.add(SIGTERM);
    d->signals.add(SIGINT);
    d->signals.async_wait([this](error_code cancelled, int) {
        if (!cancelled)
            d->beginStop();
    });
}

void HttpServer::run(Handler handler)
{
    d->handler = std::move(handler);
    d->acceptNext();
    for (;;) {
        try {
            d->io.run();
            return;
        } catch (const std::exception& error) {
            // Costs the connection whose turn it was.
            logWarning(QStringLiteral("A connection was given up"), QString::fromLocal8Bit(error.what()));
        }
    }
}

void HttpServer::stop()
{
    asio::post(d->io, [this] { d->beginStop(); });
}

} // namespace MediaServer
