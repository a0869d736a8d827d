#include "LoopbackHttpServer.hpp"

#include <Bedrock/Trace.hpp>

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <optional>

namespace http = boost::beast::http;

namespace
{
constexpr unsigned kHeaderLimit = 16 * 1024;
constexpr unsigned kBodyLimit = 1024 * 1024;
constexpr int kRequestTimeoutMs = 10000;

const char* reason(int status)
{
    switch (status) {
    case 200: return "OK";
    case 400: return "Bad Request";
    case 403: return "Forbidden";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 413: return "Payload Too Large";
    default: return "Internal Server Error";
    }
}

bool isThisMachine(QByteArray host)
{
    const int port = host.lastIndexOf(':');
    if (port >= 0 && !host.endsWith(']'))
        host.truncate(port);
    return host == "127.0.0.1" || host == "localhost" || host == "[::1]";
}
}

struct LoopbackHttpServer::Private
{
    /// One connection; a child of its socket.
    class Connection final : public QObject
    {
    public:
        Connection(QTcpSocket* socket, const Handler& handler) : QObject(socket), m_socket(*socket), m_handler(handler)
        {
            begin();
            QObject::connect(socket, &QTcpSocket::readyRead, this, [this] { read(); });
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(&m_timer, &QTimer::timeout, socket, [socket] { socket->abort(); });
            m_timer.setSingleShot(true);
            m_timer.start(kRequestTimeoutMs);
        }

    private:
        void begin()
        {
            m_parser.emplace();
            m_parser->header_limit(kHeaderLimit);
            m_parser->body_limit(kBodyLimit);
            m_parser->eager(true);
        }

        void read()
        {
            m_received += m_socket.readAll();
            while (!m_received.isEmpty()) {
                boost::system::error_code error;
                const std::size_t used = m_parser->put(boost::asio::buffer(m_received.constData(), std::size_t(m_received.size())), error);
                m_received.remove(0, int(used));
                if (error == http::error::need_more)
                    return;
                if (error) {
                    const bool tooLong = error == http::error::body_limit || error == http::error::header_limit;
                    return send({tooLong ? 413 : 400, "text/plain", QByteArray::fromStdString(error.message()) + '\n'}, false);
                }
                if (!m_parser->is_done())
                    return;
                answer();
                begin();
                m_timer.start(kRequestTimeoutMs);
            }
        }

        void answer()
        {
            const auto& message = m_parser->get();
            const auto text = [](boost::beast::string_view view) { return QByteArray(view.data(), int(view.size())); };
            if (!isThisMachine(text(message[http::field::host])))
                return send({403, "text/plain", "The inspector answers to this machine's own name only.\n"}, false);
            const QUrl url(QString::fromUtf8(text(message.target())));
            Request request;
            request.method = text(message.method_string());
            request.path = url.path();
            request.query = QUrlQuery(url);
            request.body = QByteArray::fromStdString(message.body());
            send(m_handler(request), message.keep_alive());
        }

        void send(const Response& response, bool keepAlive)
        {
            QByteArray head = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + reason(response.status) + "\r\n";
            head += "Content-Type: " + response.contentType + "\r\n";
            head += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
            head += "Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n";
            head += keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
            m_socket.write(head + response.body);
            if (!keepAlive) {
                m_received.clear();
                m_socket.disconnectFromHost();
            }
        }

        QTcpSocket& m_socket;
        const Handler& m_handler;
        QByteArray m_received;
        std::optional<http::request_parser<http::string_body>> m_parser;
        QTimer m_timer;
    };

    Handler handler;
    QTcpServer server;
};

LoopbackHttpServer::LoopbackHttpServer(Handler handler) : d(std::make_unique<Private>())
{
    d->handler = std::move(handler);
    QObject::connect(&d->server, &QTcpServer::newConnection, &d->server, [this] {
        while (QTcpSocket* socket = d->server.nextPendingConnection())
            new Private::Connection(socket, d->handler);
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
