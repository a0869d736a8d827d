#include "inspector/LoopbackHttpServer.hpp"

#include "HttpTalk.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace Host;

namespace
{
/// A server that answers with what it was asked, and remembers it.
struct LoopbackHttpServerFixture
{
    explicit LoopbackHttpServerFixture(LoopbackHttpServer::Handler handler = nullptr)
        : server([this, handler](const LoopbackHttpServer::Request& request) {
              requests.push_back(request);
              if (handler)
                  return handler(request);
              return LoopbackHttpServer::Response{200, "text/plain",
                                                  request.method + ' ' + request.path.toUtf8() + ' ' + request.body};
          })
    {
        QString error;
        REQUIRE_MESSAGE(server.listen(0, error), error.toStdString());
        REQUIRE(server.port() > 0);
    }
    /// What the server sends for exactly these bytes.
    HttpReply replyTo(const QByteArray& bytes)
    {
        HttpTalk talk(server.port());
        talk.send(bytes);
        return talk.reply();
    }

    std::vector<LoopbackHttpServer::Request> requests;
    LoopbackHttpServer server;
};

/// The timers of this thread that run.
std::vector<int> runningTimers()
{
    constexpr int kMostTimers = 4096; // Qt numbers them from 1 and uses numbers again
    std::vector<int> running;
    for (int id = 1; id <= kMostTimers; ++id)
        if (QAbstractEventDispatcher::instance()->remainingTime(id) >= 0)
            running.push_back(id);
    return running;
}

const QByteArray kHost = "Host: 127.0.0.1\r\n";
}

TEST_CASE("loopback server: a request reaches the handler with path, query and body")
{
    LoopbackHttpServerFixture f;
    HttpTalk talk(f.server.port());
    talk.send("POST /frames?count=3&dt=0.5&name=%C3%BC HTTP/1.1\r\n" + kHost + "Content-Length: 5\r\n\r\nhello");
    const HttpReply reply = talk.reply();
    CHECK(reply.status == 200);
    CHECK(reply.body == "POST /frames hello");
    CHECK(reply.head.contains("Content-Type: text/plain\r\n"));
    CHECK(reply.head.contains("Cache-Control: no-store\r\n"));
    REQUIRE(f.requests.size() == 1);
    CHECK(f.requests[0].query.queryItemValue(QStringLiteral("count")) == "3");
    CHECK(f.requests[0].query.queryItemValue(QStringLiteral("dt")) == "0.5");
    CHECK(f.requests[0].query.queryItemValue(QStringLiteral("name"), QUrl::FullyDecoded) == "ü");
}

TEST_CASE("loopback server: waits for requests without a timer of the main thread, ahead of the first one and between them")
{
    const std::vector<int> before = runningTimers();
    LoopbackHttpServerFixture f;
    CHECK(runningTimers() == before);
    HttpTalk talk(f.server.port());
    for (int i = 0; i < 2; ++i) {
        talk.send("GET /a HTTP/1.1\r\n" + kHost + "\r\n");
        CHECK(talk.reply().status == 200);
        CHECK(runningTimers() == before);
    }
    QTimer timer; // what the check finds
    timer.start(1000000);
    CHECK(runningTimers().size() == before.size() + 1);
}

TEST_CASE("loopback server: a connection serves one request after the other")
{
    LoopbackHttpServerFixture f;
    HttpTalk talk(f.server.port());
    for (const char* path : {"/a", "/b", "/c"}) {
        talk.send("GET " + QByteArray(path) + " HTTP/1.1\r\n" + kHost + "\r\n");
        const HttpReply reply = talk.reply();
        CHECK(reply.body == "GET " + QByteArray(path) + ' ');
        CHECK_FALSE(reply.head.contains("Connection: close\r\n"));
    }
}

TEST_CASE("loopback server: requests sent in one go are answered in order")
{
    LoopbackHttpServerFixture f;
    HttpTalk talk(f.server.port());
    talk.send("GET /a HTTP/1.1\r\n" + kHost + "\r\nPOST /b HTTP/1.1\r\n" + kHost + "Content-Length: 1\r\n\r\nxGET /c HTTP/1.1\r\n"
              + kHost + "\r\n");
    CHECK(talk.reply().body == "GET /a ");
    CHECK(talk.reply().body == "POST /b x");
    CHECK(talk.reply().body == "GET /c ");
}

TEST_CASE("loopback server: a request that comes byte by byte is a request")
{
    LoopbackHttpServerFixture f;
    HttpTalk talk(f.server.port());
    for (const char c : "POST /slow HTTP/1.1\r\n" + kHost + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n") {
        talk.send(QByteArray(1, c));
        QCoreApplication::processEvents();
    }
    CHECK(talk.reply().body == "POST /slow abc");
}

TEST_CASE("loopback server: a client that asks for the end of the connection gets it")
{
    LoopbackHttpServerFixture f;
    for (const QByteArray& bytes :
         {"GET / HTTP/1.1\r\n" + kHost + "Connection: close\r\n\r\n", "GET / HTTP/1.0\r\n" + kHost + "\r\n"}) {
        HttpTalk talk(f.server.port());
        talk.send(bytes + "GET /more HTTP/1.1\r\n" + kHost + "\r\n");
        const HttpReply reply = talk.reply();
        CHECK(reply.status == 200);
        CHECK(talk.isClosedByServer());
    }
    CHECK(f.requests.size() == 2);
}

TEST_CASE("loopback server: HEAD is answered like GET without the body, other methods reach the handler")
{
    LoopbackHttpServerFixture f;
    HttpTalk talk(f.server.port());
    talk.send("HEAD /x HTTP/1.1\r\n" + kHost + "\r\nDELETE /y HTTP/1.1\r\n" + kHost + "\r\nFROB /z HTTP/1.1\r\n" + kHost
              + "\r\n");
    const HttpReply head = talk.reply(true);
    CHECK(head.status == 200);
    CHECK(head.head.contains("Content-Length: 7\r\n"));
    CHECK(talk.reply().body == "DELETE /y ");
    CHECK(talk.reply().body == "FROB /z ");
}

TEST_CASE("loopback server: a request under another machine's name is refused unread")
{
    LoopbackHttpServerFixture f;
    for (const char* host :
         {"evil.example", "evil.example:80", "127.0.0.1.evil.example", "localhost.evil.example", "192.168.0.1", "", "[::2]:80"}) {
        CAPTURE(host);
        HttpTalk talk(f.server.port());
        talk.send("GET /tree HTTP/1.1\r\nHost: " + QByteArray(host) + "\r\n\r\n");
        CHECK(talk.reply().status == 403);
        CHECK(talk.isClosedByServer());
    }
    CHECK(f.replyTo("GET /tree HTTP/1.0\r\n\r\n").status == 403);
    CHECK(f.requests.empty());

    for (const char* host : {"127.0.0.1", "127.0.0.1:8080", "localhost", "localhost:1", "[::1]", "[::1]:80"}) {
        CAPTURE(host);
        CHECK(f.replyTo("GET / HTTP/1.1\r\nHost: " + QByteArray(host) + "\r\n\r\n").status == 200);
    }
}

TEST_CASE("loopback server: a page of another machine cannot make a browser ask")
{
    LoopbackHttpServerFixture f;
    for (const char* origin : {"http://evil.example", "https://127.0.0.1.evil.example", "null"}) {
        CAPTURE(origin);
        CHECK(f.replyTo("POST /frames HTTP/1.1\r\n" + kHost + "Origin: " + origin + "\r\nContent-Length: 0\r\n\r\n").status
              == 403);
    }
    CHECK(f.requests.empty());
    CHECK(f.replyTo("POST /frames HTTP/1.1\r\n" + kHost + "Origin: http://127.0.0.1:8000\r\nContent-Length: 0\r\n\r\n").status
          == 200);
}

TEST_CASE("loopback server: a request that is no HTTP gets status 400 and the end of the connection")
{
    LoopbackHttpServerFixture f;
    for (const QByteArray& bytes :
         {QByteArray("hello\r\n\r\n"), QByteArray("GET /\r\n\r\n"), QByteArray("GET / HTTP/9.9\r\n\r\n"),
          QByteArray("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11), "GET / HTTP/1.1\r\n" + kHost + "bad header\r\n\r\n",
          "POST / HTTP/1.1\r\n" + kHost + "Content-Length: many\r\n\r\n",
          "POST / HTTP/1.1\r\n" + kHost + "Transfer-Encoding: chunked\r\n\r\nzz\r\n"}) {
        CAPTURE(bytes.toStdString());
        HttpTalk talk(f.server.port());
        talk.send(bytes);
        CHECK(talk.reply().status == 400);
        CHECK(talk.isClosedByServer());
    }
    CHECK(f.requests.empty());
}

TEST_CASE("loopback server: a header without an end is cut at its limit")
{
    LoopbackHttpServerFixture f;
    HttpTalk talk(f.server.port());
    talk.send("GET / HTTP/1.1\r\n" + kHost + "X: " + QByteArray(int(LoopbackHttpServer::kHeaderLimit), 'x'));
    CHECK(talk.reply().status == 431);
    CHECK(talk.isClosedByServer());
}

TEST_CASE("loopback server: a body above the limit is refused before it has come")
{
    LoopbackHttpServerFixture f;
    const QByteArray tooMuch = QByteArray::number(LoopbackHttpServer::kBodyLimit + 1);
    CHECK(f.replyTo("POST / HTTP/1.1\r\n" + kHost + "Content-Length: " + tooMuch + "\r\n\r\n").status == 413);
    CHECK(f.replyTo("POST / HTTP/1.1\r\n" + kHost + "Content-Length: 99999999999999999\r\n\r\n").status == 413);
    CHECK(f.requests.empty());
    const QByteArray most(int(LoopbackHttpServer::kBodyLimit), 'x');
    CHECK(
        f.replyTo("POST / HTTP/1.1\r\n" + kHost + "Content-Length: " + QByteArray::number(most.size()) + "\r\n\r\n" + most).status
        == 200);
    REQUIRE(f.requests.size() == 1);
    CHECK(f.requests[0].body == most);
}

TEST_CASE("loopback server: a connection beyond the limit ends the one that has waited longest")
{
    LoopbackHttpServerFixture f;
    TestSupport::expectWarning(
        "HttpServer # All connections are in use; the one that has waited longest makes room for a new one "
        "(32 connections)");
    std::vector<std::unique_ptr<HttpTalk>> talks;
    for (std::size_t i = 0; i < LoopbackHttpServer::kMostConnections; ++i) {
        talks.push_back(std::make_unique<HttpTalk>(f.server.port()));
        talks.back()->send("GET / HTTP/1.1\r\n" + kHost + "\r\n");
        REQUIRE(talks.back()->reply().status == 200);
    }
    CHECK(ask(f.server.port(), "GET", "/").status == 200);
    CHECK(talks.front()->isClosedByServer());
}

TEST_CASE("loopback server: a chunk extension without an end is refused and bounded")
{
    LoopbackHttpServerFixture f;
    HttpTalk talk(f.server.port());
    talk.send("POST / HTTP/1.1\r\n" + kHost + "Transfer-Encoding: chunked\r\n\r\n4;" + QByteArray(256 * 1024, 'x'));
    CHECK(talk.reply().status == 431);
    CHECK(talk.isClosedByServer());
    CHECK(f.requests.empty());
}

TEST_CASE("loopback server: while one request is answered the others wait, also when the handler lets events through")
{
    int depth = 0;
    int deepest = 0;
    std::unique_ptr<HttpTalk> second;
    LoopbackHttpServerFixture* fixture = nullptr;
    LoopbackHttpServerFixture f([&](const LoopbackHttpServer::Request& request) {
        ++depth;
        deepest = std::max(deepest, depth);
        if (request.path == QLatin1String("/first")) {
            second = std::make_unique<HttpTalk>(fixture->server.port());
            second->send("GET /second HTTP/1.1\r\n" + kHost + "\r\n");
            for (int i = 0; i < 50; ++i)
                QCoreApplication::processEvents();
        }
        --depth;
        return LoopbackHttpServer::Response{200, "text/plain", request.path.toUtf8()};
    });
    fixture = &f;
    CHECK(f.replyTo("GET /first HTTP/1.1\r\n" + kHost + "\r\n").body == "/first");
    REQUIRE(second);
    CHECK(second->reply().body == "/second");
    CHECK(deepest == 1);
}

TEST_CASE("loopback server: a client that goes while it is answered does no harm")
{
    std::unique_ptr<HttpTalk> talk;
    LoopbackHttpServerFixture f([&](const LoopbackHttpServer::Request& request) {
        talk.reset();
        for (int i = 0; i < 50; ++i) {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        return LoopbackHttpServer::Response{200, "text/plain", request.path.toUtf8()};
    });
    talk = std::make_unique<HttpTalk>(f.server.port());
    talk->send("GET /gone HTTP/1.1\r\n" + kHost + "\r\nGET /more HTTP/1.1\r\n" + kHost + "\r\n");
    REQUIRE(TestSupport::pumpUntil([&] { return !f.requests.empty(); }));
    CHECK_FALSE(talk);
    talk = std::make_unique<HttpTalk>(f.server.port());
    talk->send("GET /next HTTP/1.1\r\n" + kHost + "\r\n");
    REQUIRE(TestSupport::pumpUntil([&] { return f.requests.back().path == QLatin1String("/next"); }));
}

TEST_CASE("loopback server: a handler that throws is a logged error and status 500")
{
    LoopbackHttpServerFixture f(
        [](const LoopbackHttpServer::Request&) -> LoopbackHttpServer::Response { throw std::runtime_error("no picture"); });
    TestSupport::expectError("LoopbackHttpServer # Answering GET /x failed (no picture)");
    const HttpReply reply = f.replyTo("GET /x HTTP/1.1\r\n" + kHost + "\r\n");
    CHECK(reply.status == 500);
    CHECK(reply.body == "no picture\n");
}

TEST_CASE("loopback server: a port that is taken is reported")
{
    QTcpServer other;
    REQUIRE(other.listen(QHostAddress::LocalHost));
    LoopbackHttpServer server([](const LoopbackHttpServer::Request&) { return LoopbackHttpServer::Response(); });
    QString error;
    CHECK_FALSE(server.listen(other.serverPort(), error));
    CHECK(error.startsWith(QStringLiteral("Cannot listen on 127.0.0.1 port %1: ").arg(other.serverPort())));
}

TEST_CASE("loopback server: an answer that takes long is made on another thread, and the main one goes on")
{
    std::atomic<bool> isHeld{true};
    std::thread::id maker;
    LoopbackHttpServerFixture f([&](const LoopbackHttpServer::Request& request) {
        LoopbackHttpServer::Response response{200, "text/plain", "at once"};
        if (request.path == QLatin1String("/long"))
            response.later = [&] {
                maker = std::this_thread::get_id();
                while (isHeld)
                    std::this_thread::yield();
                return LoopbackHttpServer::Response{200, "text/plain", "in the end"};
            };
        return response;
    });
    HttpTalk slow(f.server.port());
    slow.send("GET /long HTTP/1.1\r\n" + kHost + "\r\nGET /next HTTP/1.1\r\n" + kHost + "\r\n");
    REQUIRE(TestSupport::pumpUntil([&] { return f.requests.size() == 1; }));
    CHECK(f.replyTo("GET /other HTTP/1.1\r\n" + kHost + "\r\n").body == "at once");
    CHECK(f.requests.size() == 2); // the second of the slow connection waits for its first
    isHeld = false;
    CHECK(slow.reply().body == "in the end");
    CHECK(slow.reply().body == "at once");
    CHECK(maker != std::this_thread::get_id());
}

TEST_CASE("loopback server: a client that goes while its answer is made elsewhere, and a server that goes, do no harm")
{
    std::atomic<bool> isHeld{true};
    std::atomic<int> made{0};
    const auto handler = [&](const LoopbackHttpServer::Request&) {
        LoopbackHttpServer::Response response;
        response.later = [&] {
            while (isHeld)
                std::this_thread::yield();
            ++made;
            return LoopbackHttpServer::Response();
        };
        return response;
    };
    auto f = std::make_unique<LoopbackHttpServerFixture>(handler);
    {
        HttpTalk talk(f->server.port());
        talk.send("GET / HTTP/1.1\r\n" + kHost + "\r\n");
        REQUIRE(TestSupport::pumpUntil([&] { return f->requests.size() == 1; }));
    }
    HttpTalk stays(f->server.port());
    stays.send("GET / HTTP/1.1\r\n" + kHost + "\r\n");
    REQUIRE(TestSupport::pumpUntil([&] { return f->requests.size() == 2; }));
    isHeld = false;
    REQUIRE(TestSupport::pumpUntil([&] { return made >= 1; }));
    f.reset();
    CHECK(stays.isClosedByServer());
}

TEST_CASE("loopback server: a client that asks without end and reads nothing has to wait, and the event loop turns")
{
    const QByteArray large(4 * 1024 * 1024, 'x');
    LoopbackHttpServerFixture f([&](const LoopbackHttpServer::Request&) {
        return LoopbackHttpServer::Response{200, "text/plain", large};
    });
    QTcpSocket greedy;
    greedy.setReadBufferSize(1024);
    greedy.connectToHost(QHostAddress::LocalHost, quint16(f.server.port()));
    REQUIRE(TestSupport::pumpUntil([&] { return greedy.state() == QAbstractSocket::ConnectedState; }));
    greedy.write(QByteArray("GET / HTTP/1.1\r\n" + kHost + "\r\n").repeated(300));
    REQUIRE(TestSupport::pumpUntil([&] { return !f.requests.empty(); }));
    for (int turn = 0; turn < 200; ++turn)
        QCoreApplication::processEvents();
    // What the system's buffers take may be more than one answer, and is far less than all.
    CHECK(f.requests.size() < 30);
    CHECK(f.replyTo("GET /other HTTP/1.1\r\n" + kHost + "\r\n").status == 200);
}

TEST_CASE("loopback server: an answer whose making fails is a logged error and status 500, and the next one is made")
{
    bool fails = true;
    LoopbackHttpServerFixture f([&](const LoopbackHttpServer::Request&) {
        LoopbackHttpServer::Response response;
        response.later = [fails]() -> LoopbackHttpServer::Response {
            if (fails)
                throw std::runtime_error("no memory");
            return {200, "text/plain", "made"};
        };
        return response;
    });
    TestSupport::expectError("LoopbackHttpServer # Making an answer failed (no memory)");
    CHECK(f.replyTo("GET / HTTP/1.1\r\n" + kHost + "\r\n").status == 500);
    fails = false;
    CHECK(f.replyTo("GET / HTTP/1.1\r\n" + kHost + "\r\n").body == "made");
}
