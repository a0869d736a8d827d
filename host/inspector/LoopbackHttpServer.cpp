#include "LoopbackHttpServer.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Bedrock/WorkerPool.hpp>

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace Host
{
namespace http = boost::beast::http;

namespace
{
constexpr qint64 kReadBuffer = 64 * 1024;
constexpr int kLookForMadeMs = 2;

const char* reason(int status)
{
    switch (status) {
    case 200: return "OK";
    case 400: return "Bad Request";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 413: return "Payload Too Large";
    case 431: return "Request Header Fields Too Large";
    default: return "Internal Server Error";
    }
}

QByteArray text(boost::beast::string_view view)
{
    return {view.data(), int(view.size())};
}

/// "127.0.0.1:8080", "localhost", "[::1]:8080".
bool isThisMachine(QByteArray host)
{
    const int port = host.lastIndexOf(':');
    if (port >= 0 && !host.endsWith(']'))
        host.truncate(port);
    return host == "127.0.0.1" || host == "localhost" || host == "[::1]";
}

/// Whether a browser says that the request comes from a page of another machine.
bool comesFromElsewhere(const QByteArray& origin)
{
    const int host = origin.indexOf("://");
    return !origin.isEmpty() && (host < 0 || !isThisMachine(origin.mid(host + 3)));
}
}

struct LoopbackHttpServer::Private
{
    class Connection;

    explicit Private(Handler h) : handler(std::move(h))
    {
        lookForMade.setInterval(kLookForMadeMs);
        QObject::connect(&lookForMade, &QTimer::timeout, &lookForMade, [this] { sendMade(); });
    }

    /// Calls the handler for one request at a time, also when it lets Qt's events through meanwhile.
    Response call(const Request& request);
    /// Makes the answer on the server's thread and gives it to the connection, if that is still there.
    void finishLater(std::function<Response()> make, QPointer<Connection> connection);
    void sendMade();

    Handler handler;
    bool isAnswering = false;
    int connections = 0;
    std::vector<QPointer<Connection>> waiting; ///< have something to read as soon as the answer under way is given
    QTcpServer server;

    // Answers that are made on the thread. While there are any the main thread looks for them: what crosses is an answer
    // and its number, behind a mutex.
    std::map<long, QPointer<Connection>> making;
    long lastMade = 0;
    std::mutex madeMutex;
    std::vector<std::pair<long, Response>> made;
    QTimer lookForMade;
    Bedrock::WorkerPool thread{1}; ///< last member: ends first
};

/// One connection; a child of its socket.
class LoopbackHttpServer::Private::Connection final : public QObject
{
public:
    Connection(QTcpSocket* socket, Private& owner) : QObject(socket), m_socket(*socket), m_owner(owner)
    {
        ++m_owner.connections;
        m_socket.setReadBufferSize(kReadBuffer);
        connect(socket, &QTcpSocket::readyRead, this, [this] { read(); });
        // The next request may be here already.
        connect(socket, &QTcpSocket::bytesWritten, this, [this] { read(); });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(&m_timer, &QTimer::timeout, socket, [socket] { socket->abort(); });
        m_timer.setSingleShot(true);
        m_timer.start(kRequestTimeoutMs);
        begin();
    }
    ~Connection() override { --m_owner.connections; }

    void read()
    {
        if (m_isClosing || m_isAnswering || m_socket.bytesToWrite() > 0)
            return;
        if (m_owner.isAnswering) {
            m_owner.waiting.emplace_back(this);
            return;
        }
        m_received += m_socket.readAll();
        if (!m_received.isEmpty() && parse())
            answer();
    }

    void finish(const Response& response)
    {
        m_isAnswering = false;
        send(response, m_keep, m_body);
    }

private:
    enum class Connect { Keep, Close };
    enum class Body { Sent, Withheld };

    void begin()
    {
        m_parser.emplace();
        m_parser->header_limit(kHeaderLimit);
        m_parser->body_limit(kBodyLimit);
        m_parser->eager(true);
    }

    /// Whether a whole request has come.
    bool parse()
    {
        boost::system::error_code error;
        const std::size_t used =
            m_parser->put(boost::asio::buffer(m_received.constData(), std::size_t(m_received.size())), error);
        m_received.remove(0, int(used));
        if (!error || error == http::error::need_more)
            return m_parser->is_done();
        const int status = error == http::error::body_limit ? 413 : error == http::error::header_limit ? 431 : 400;
        send({status, "text/plain; charset=utf-8", QByteArray::fromStdString(error.message()) + '\n'}, Connect::Close,
             Body::Sent);
        return false;
    }

    void answer()
    {
        const auto message = m_parser->release();
        begin();
        if (!isThisMachine(text(message[http::field::host])) || comesFromElsewhere(text(message[http::field::origin])))
            return send({403, "text/plain; charset=utf-8",
                         "Only this machine is answered, under its own name (127.0.0.1 or localhost).\n"},
                        Connect::Close, Body::Sent);
        const bool isHead = message.method() == http::verb::head;
        const QUrl url(QString::fromUtf8(text(message.target())));
        Request request;
        request.method = isHead ? QByteArrayLiteral("GET") : text(message.method_string());
        request.path = url.path();
        request.query = QUrlQuery(url);
        request.body = QByteArray::fromStdString(message.body());

        m_timer.stop();
        m_isAnswering = true;
        m_keep = message.keep_alive() ? Connect::Keep : Connect::Close;
        m_body = isHead ? Body::Withheld : Body::Sent;
        // A handler may let events through, and with them the end of this connection.
        const QPointer<Connection> alive(this);
        const Response response = m_owner.call(request);
        if (!alive)
            return;
        if (response.later)
            m_owner.finishLater(response.later, alive);
        else
            finish(response);
    }

    void send(const Response& response, Connect connection, Body body)
    {
        QByteArray bytes = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + reason(response.status) + "\r\n";
        bytes += "Content-Type: " + response.contentType + "\r\n";
        bytes += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
        bytes += "Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n";
        bytes += connection == Connect::Keep ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
        if (body == Body::Sent)
            bytes += response.body;
        m_timer.start(kRequestTimeoutMs);
        m_socket.write(bytes);
        if (connection == Connect::Close) {
            m_isClosing = true;
            m_socket.disconnectFromHost();
        }
    }

    QTcpSocket& m_socket;
    Private& m_owner;
    QByteArray m_received;
    std::optional<http::request_parser<http::string_body>> m_parser;
    QTimer m_timer;
    bool m_isClosing = false;
    // Of the answer under way.
    bool m_isAnswering = false;
    Connect m_keep = Connect::Keep;
    Body m_body = Body::Sent;
};

LoopbackHttpServer::Response LoopbackHttpServer::Private::call(const Request& request)
{
    isAnswering = true;
    Response response;
    Bedrock::guarded([&] { response = handler(request); },
                     [&](const char* reason) {
                         Bedrock::Trace::error("LoopbackHttpServer # Answering %s %s failed (%s)", request.method.constData(),
                                               request.path.toUtf8().constData(), reason);
                         response = {500, "text/plain; charset=utf-8", QByteArray(reason) + '\n'};
                     });
    isAnswering = false;
    for (const QPointer<Connection>& connection : std::exchange(waiting, {}))
        if (connection)
            QMetaObject::invokeMethod(
                connection.data(), [connection] { connection->read(); }, Qt::QueuedConnection);
    return response;
}

void LoopbackHttpServer::Private::finishLater(std::function<Response()> make, QPointer<Connection> connection)
{
    const long number = ++lastMade;
    making[number] = std::move(connection);
    thread.add([this, make = std::move(make), number] {
        Response response;
        Bedrock::guarded([&] { response = make(); },
                         [&](const char* reason) {
                             // The client waits for an answer all the same.
                             Bedrock::Trace::error("LoopbackHttpServer # Making an answer failed (%s)", reason);
                             response = {500, "text/plain; charset=utf-8", QByteArray(reason) + '\n'};
                         });
        const std::lock_guard<std::mutex> guard(madeMutex);
        made.emplace_back(number, std::move(response));
    });
    lookForMade.start();
}

void LoopbackHttpServer::Private::sendMade()
{
    std::vector<std::pair<long, Response>> ready;
    {
        const std::lock_guard<std::mutex> guard(madeMutex);
        ready.swap(made);
    }
    for (const auto& [number, response] : ready) {
        const QPointer<Connection> connection = making[number];
        making.erase(number);
        if (connection)
            connection->finish(response);
    }
    if (making.empty())
        lookForMade.stop();
}

LoopbackHttpServer::LoopbackHttpServer(Handler handler) : d(std::make_unique<Private>(std::move(handler)))
{
    QObject::connect(&d->server, &QTcpServer::newConnection, &d->server, [this] {
        while (QTcpSocket* socket = d->server.nextPendingConnection()) {
            if (d->connections < kMostConnections)
                new Private::Connection(socket, *d);
            else
                delete socket;
        }
    });
}

LoopbackHttpServer::~LoopbackHttpServer() = default;

bool LoopbackHttpServer::listen(int port, QString& error)
{
    if (d->server.listen(QHostAddress::LocalHost, quint16(port)))
        return true;
    error = d->server.errorString();
    return false;
}

int LoopbackHttpServer::port() const
{
    return d->server.serverPort();
}
}
