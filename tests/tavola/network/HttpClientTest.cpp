#include <Tavola/HttpClient.hpp>

#include <EventLoop.hpp>
#include <Patience.hpp>
#include <ReservedPort.hpp>

#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <doctest/doctest.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

using Tavola::HttpAnswer;
using Tavola::HttpClient;
using Tavola::HttpRequest;
using TestSupport::pumpUntil;
using End = HttpAnswer::End;

namespace
{
class ClientTestServer
{
public:
    using Answer = std::function<void(QTcpSocket&)>;

    explicit ClientTestServer(Answer answer)
    {
        REQUIRE(m_server.listen(QHostAddress::LocalHost));
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this, answer] {
            QTcpSocket* socket = m_server.nextPendingConnection();
            ++connections;
            QObject::connect(socket, &QTcpSocket::disconnected, socket, [this] { ++ended; });
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, answer] {
                received += socket->readAll();
                if (received.endsWith("\r\n\r\n") || received.endsWith("two suns"))
                    answer(*socket);
            });
        });
    }
    explicit ClientTestServer(const QByteArray& bytes)
        : ClientTestServer([bytes](QTcpSocket& socket) {
              socket.write(bytes);
              socket.disconnectFromHost();
          })
    {
    }
    /// Sends `start`, and then `piece` until the client goes.
    static Answer endless(const QByteArray& start, const QByteArray& piece)
    {
        return [start, piece](QTcpSocket& socket) {
            const auto more = [piece, &socket] {
                if (socket.bytesToWrite() < 100000)
                    socket.write(piece);
            };
            QObject::connect(&socket, &QTcpSocket::bytesWritten, &socket, more);
            socket.write(start);
            more();
        };
    }
    HttpRequest request(double timeoutSeconds = 60.0) const
    {
        HttpRequest request;
        request.url = QUrl(QStringLiteral("http://127.0.0.1:%1/a?b=c#d").arg(m_server.serverPort()));
        request.timeoutSeconds = timeoutSeconds;
        return request;
    }

    QByteArray received;
    int connections = 0;
    int ended = 0;

private:
    QTcpServer m_server;
};

struct Client
{
    HttpAnswer ask(const HttpRequest& request)
    {
        std::optional<HttpAnswer> answer;
        const auto exchange = client->send(request, [&](const HttpAnswer& came) { answer = came; });
        CHECK_FALSE(answer);
        REQUIRE(pumpUntil([&] { return answer.has_value(); }));
        return *answer;
    }
    std::unique_ptr<HttpClient> client = std::make_unique<HttpClient>();
};

/// Speaks TLS with a certificate that it has signed itself, and answers `kSmall`.
class SecureServer final : public QTcpServer
{
public:
    SecureServer()
    {
        const QString key = m_folder.filePath(QStringLiteral("key.pem"));
        const QString certificate = m_folder.filePath(QStringLiteral("certificate.pem"));
        QProcess openssl;
        openssl.start(QStringLiteral("openssl"),
                      {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", certificate, "-days", "2",
                       "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1"});
        REQUIRE(openssl.waitForFinished(TestSupport::kPatienceMs));
        REQUIRE(openssl.exitCode() == 0);
        QFile file(key);
        REQUIRE(file.open(QIODevice::ReadOnly));
        m_key = QSslKey(file.readAll(), QSsl::Rsa);
        m_certificate = QSslCertificate::fromPath(certificate).value(0);
        REQUIRE(listen(QHostAddress::LocalHost));
    }
    int requests = 0;

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto* socket = new QSslSocket(this);
        socket->setLocalCertificate(m_certificate);
        socket->setPrivateKey(m_key);
        socket->setSocketDescriptor(descriptor);
        connect(socket, &QSslSocket::readyRead, socket, [this, socket] {
            ++requests;
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nmoons");
        });
        socket->startServerEncryption();
    }

private:
    QTemporaryDir m_folder;
    QSslKey m_key;
    QSslCertificate m_certificate;
};

const QByteArray kSmall = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nX-Colour:  red \r\n\r\nmoons";
}

TEST_CASE_FIXTURE(Client, "http client: a request goes out as it was given, and the answer comes back whole")
{
    const ClientTestServer server(kSmall);
    HttpRequest request = server.request();
    request.headers = {{"X-Sun", "yes"}};
    const HttpAnswer answer = ask(request);
    CHECK(answer.end == End::Whole);
    CHECK(answer.status == 200);
    CHECK(answer.reason == "OK");
    CHECK(answer.header("x-colour") == "red");
    CHECK(answer.header("X-None").isNull());
    CHECK(answer.body == "moons");
    CHECK(server.received.startsWith("GET /a?b=c HTTP/1.1\r\n"));
    CHECK(server.received.contains("\r\nX-Sun: yes\r\n"));
    CHECK(server.received.contains("\r\nAccept-Encoding: identity\r\n"));
}

TEST_CASE_FIXTURE(Client, "http client: a body goes with every method but GET and HEAD, and HEAD has no answer's body")
{
    for (const char* method : {"POST", "PUT", "DELETE", "PATCH"}) {
        CAPTURE(method);
        const ClientTestServer server(kSmall);
        HttpRequest request = server.request();
        request.method = method;
        request.body = "two suns";
        CHECK(ask(request).body == "moons");
        CHECK(server.received.startsWith(QByteArray(method) + " /a?b=c HTTP/1.1\r\n"));
        CHECK(server.received.contains("\r\nContent-Length: 8\r\n"));
        CHECK(server.received.endsWith("\r\n\r\ntwo suns"));
    }
    const ClientTestServer server("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n");
    HttpRequest request = server.request();
    request.method = "HEAD";
    const HttpAnswer answer = ask(request);
    CHECK(answer.end == End::Whole);
    CHECK(answer.body.isEmpty());
    CHECK(server.received.startsWith("HEAD "));
}

TEST_CASE_FIXTURE(Client, "http client: everything that an answer has is bounded, and its server is hung up on")
{
    const QByteArray ok = "HTTP/1.1 200 OK\r\n";
    struct Row
    {
        const char* what;
        ClientTestServer::Answer answer;
        End end;
    };
    const Row rows[] = {
        {"a head in one line", ClientTestServer::endless(ok + "X: ", QByteArray(65536, 'x')), End::HeadTooLong},
        {"a head of many lines", ClientTestServer::endless(ok, QByteArray("X: yes\r\n").repeated(1000)), End::HeadTooLong},
        {"interim answers", ClientTestServer::endless("", QByteArray("HTTP/1.1 100 Continue\r\n\r\n").repeated(500)),
         End::HeadTooLong},
        {"a status line", ClientTestServer::endless("HTTP/1.1 200 ", QByteArray(65536, 'x')), End::HeadTooLong},
        {"trailers",
         ClientTestServer::endless(ok + "Transfer-Encoding: chunked\r\n\r\n0\r\n", QByteArray("X: yes\r\n").repeated(1000)),
         End::HeadTooLong},
        {"a body", ClientTestServer::endless(ok + "\r\n", QByteArray(65536, 'x')), End::BodyTooLong},
        {"a body in chunks", ClientTestServer::endless(ok + "Transfer-Encoding: chunked\r\n\r\n", "4\r\nsuns\r\n"),
         End::BodyTooLong},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const ClientTestServer server(row.answer);
        const HttpAnswer answer = ask(server.request());
        CHECK(answer.end == row.end);
        CHECK(answer.body.isEmpty());
        CHECK(answer.headers.isEmpty());
        CHECK(pumpUntil([&] { return server.ended == 1; }));
    }
    // The library drops such an extension while it arrives; the time bounds it.
    const ClientTestServer extension(
        ClientTestServer::endless(ok + "Transfer-Encoding: chunked\r\n\r\n4;", QByteArray(65536, 'x')));
    CHECK(ask(extension.request(0.2)).end == End::Late);
    CHECK(pumpUntil([&] { return extension.ended == 1; }));
}

TEST_CASE_FIXTURE(Client, "http client: a body at the limit is an answer, one byte more is none")
{
    const ClientTestServer server(kSmall);
    HttpRequest request = server.request();
    request.largestBodyBytes = 5;
    CHECK(ask(request).body == "moons");
    request.largestBodyBytes = 4;
    CHECK(ask(request).end == End::BodyTooLong);
}

TEST_CASE_FIXTURE(Client,
                  "http client: what comes of a server that is away, falls silent, cuts or speaks something else is told apart")
{
    HttpRequest request;
    const TestSupport::ReservedPort away;
    request.url = QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(away.port()));
    const HttpAnswer unreachable = ask(request);
    CHECK(unreachable.end == End::Unreachable);
    CHECK(unreachable.detail == "Connection refused");

    const ClientTestServer silent([](QTcpSocket&) {});
    CHECK(ask(silent.request(0.05)).end == End::Late);
    CHECK(ask(ClientTestServer(QByteArray()).request()).end == End::Cut);
    CHECK(ask(ClientTestServer("HTTP/1.1 200 OK\r\nContent-Le").request()).end == End::Cut);
    CHECK(ask(ClientTestServer("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n").request()).end == End::Cut);
    CHECK(ask(ClientTestServer("HTTP/1.1 100 Continue\r\n\r\n").request()).end == End::Cut);
    CHECK(ask(ClientTestServer("HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\nmoons").request()).end == End::Cut);
    CHECK(ask(ClientTestServer("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n40\r\nmoons").request()).end == End::Cut);
    CHECK(ask(ClientTestServer("SSH-2.0-x\r\n").request()).end == End::NoHttp);

    // It gets a greeting of TLS, and answers something else.
    QTcpServer plain;
    REQUIRE(plain.listen(QHostAddress::LocalHost));
    QObject::connect(&plain, &QTcpServer::newConnection, &plain, [&plain] {
        QTcpSocket* socket = plain.nextPendingConnection();
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket] { socket->write("HTTP/1.1 200 OK\r\n\r\n"); });
    });
    request.url = QUrl(QStringLiteral("https://127.0.0.1:%1/").arg(plain.serverPort()));
    const HttpAnswer insecure = ask(request);
    CHECK(insecure.end == End::NotTrusted);
    CHECK_FALSE(insecure.detail.isEmpty());
}

TEST_CASE_FIXTURE(Client, "http client: a server whose certificate no authority has signed is sent nothing")
{
    SecureServer server;
    HttpRequest request;
    request.url = QUrl(QStringLiteral("https://127.0.0.1:%1/").arg(server.serverPort()));
    const HttpAnswer answer = ask(request);
    CHECK(answer.end == End::NotTrusted);
    CHECK(answer.detail.contains(QLatin1String("self-signed")));
    CHECK(server.requests == 0);
}

TEST_CASE_FIXTURE(Client, "http client: a redirection is an answer")
{
    const ClientTestServer elsewhere(kSmall);
    const ClientTestServer server("HTTP/1.1 302 Found\r\nLocation: " + elsewhere.request().url.toEncoded()
                                  + "\r\nContent-Length: 0\r\n\r\n");
    const HttpAnswer answer = ask(server.request());
    CHECK(answer.status == 302);
    CHECK(answer.header("Location") == elsewhere.request().url.toEncoded());
    CHECK(elsewhere.connections == 0);
}

TEST_CASE_FIXTURE(Client, "http client: each request has a connection of its own and is sent once")
{
    const ClientTestServer server([](QTcpSocket& socket) { socket.write(kSmall); }); // which keeps its connections
    CHECK(ask(server.request()).body == "moons");
    CHECK(ask(server.request()).body == "moons");
    CHECK(server.connections == 2);

    const ClientTestServer closing([](QTcpSocket& socket) { socket.disconnectFromHost(); });
    HttpRequest request = closing.request();
    request.method = "POST";
    request.body = "two suns";
    CHECK(ask(request).end == End::Cut);
    CHECK(closing.connections == 1);
}

TEST_CASE_FIXTURE(Client, "http client: exchanges run side by side, and one whose handle goes ends without an answer")
{
    const ClientTestServer silent([](QTcpSocket&) {});
    const ClientTestServer server(kSmall);
    bool isCalled = false;
    auto waiting = client->send(silent.request(), [&](const HttpAnswer&) { isCalled = true; });
    REQUIRE(pumpUntil([&] { return !silent.received.isEmpty(); }));
    CHECK(ask(server.request()).body == "moons");
    waiting.reset();
    CHECK(pumpUntil([&] { return silent.ended == 1; }));

    // Its answer has arrived, and waits for the event loop.
    const ClientTestServer other(kSmall);
    auto arrived = client->send(other.request(), [&](const HttpAnswer&) { isCalled = true; });
    REQUIRE(pumpUntil([&] { return other.ended == 1 || isCalled; }));
    arrived.reset();
    CHECK(ask(server.request()).body == "moons");
}

TEST_CASE_FIXTURE(Client, "http client: it may go while exchanges are under way, and from inside an answer")
{
    const ClientTestServer silent([](QTcpSocket&) {});
    bool isCalled = false;
    const auto waiting = client->send(silent.request(), [&](const HttpAnswer&) { isCalled = true; });
    REQUIRE(pumpUntil([&] { return !silent.received.isEmpty(); }));
    const ClientTestServer server(kSmall);
    const auto last = client->send(server.request(), [&](const HttpAnswer&) { client.reset(); });
    REQUIRE(pumpUntil([&] { return !client; }));
    CHECK(pumpUntil([&] { return silent.ended == 1; }));
    CHECK_FALSE(isCalled);
}
