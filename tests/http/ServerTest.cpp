#include <Http/Server.hpp>

#include "HttpClient.hpp"
#include "HttpServerThread.hpp"
#include "Patience.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <doctest/doctest.h>

#include <QFile>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTemporaryFile>

#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Http;
using namespace std::chrono_literals;

namespace
{

/// Answers what it was asked: "METHOD TARGET BODY".
HttpServerThread::MakeHandler echo()
{
    return [](const QString&) -> HttpServerThread::Handler {
        return [](const Request& request) {
            if (request.target == "/throw")
                throw std::runtime_error("on purpose");
            if (request.target == "/throw-number")
                throw 7;
            return plainResponse(200, request.method + ' ' + request.target + ' ' + request.body);
        };
    };
}

Limits patient()
{
    Limits limits;
    limits.headerBytes = 2000;
    limits.bodyBytes = 1000;
    // Longer than a test waits, so that no connection ends by them.
    limits.timeout = 10min;
    limits.grace = 10min;
    return limits;
}

/// Of IPv4 and not the loopback one; empty when there is none.
std::string addressOfThisMachine()
{
    std::string found;
    ifaddrs* all = nullptr;
    if (::getifaddrs(&all) != 0)
        return found;
    for (const ifaddrs* one = all; one && found.empty(); one = one->ifa_next) {
        if (!one->ifa_addr || one->ifa_addr->sa_family != AF_INET || (one->ifa_flags & IFF_LOOPBACK) != 0)
            continue;
        char text[INET_ADDRSTRLEN] = {};
        if (::inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(one->ifa_addr)->sin_addr, text, sizeof text))
            found = text;
    }
    ::freeifaddrs(all);
    return found;
}

Limits impatient()
{
    Limits limits = patient();
    limits.timeout = 200ms;
    return limits;
}

} // namespace

TEST_CASE("HTTP server: requests on one connection are answered one after the other")
{
    const HttpServerThread server(patient(), echo());
    HttpClient client(server.port());
    client.send(requestText("GET", "/one"));
    CHECK(client.receive().value().body == "GET /one ");
    client.send(requestText("POST", "/two?x=1", "body"));
    const HttpAnswer answer = client.receive().value();
    CHECK(answer.body == "POST /two?x=1 body");
    CHECK(answer.header("x-content-type-options") == "nosniff");
    CHECK(answer.header("referrer-policy") == "no-referrer");
    CHECK(answer.header("date").size() == 29);
}

TEST_CASE("HTTP server: pipelined requests are answered in order")
{
    const HttpServerThread server(patient(), echo());
    HttpClient client(server.port());
    client.send(requestText("GET", "/one") + requestText("POST", "/two", "body") + requestText("HEAD", "/three")
                + requestText("GET", "/four"));
    CHECK(client.receive().value().body == "GET /one ");
    CHECK(client.receive().value().body == "POST /two body");
    CHECK(client.receiveHead().value().header("content-length") == "12");
    CHECK(client.receive().value().body == "GET /four ");
}

TEST_CASE("HTTP server: a request in small pieces and one in chunks are read whole")
{
    const HttpServerThread server(patient(), echo());
    HttpClient client(server.port());
    for (const char c : requestText("POST", "/slow", "body"))
        client.send(std::string(1, c));
    CHECK(client.receive().value().body == "POST /slow body");
    client.send("POST /chunks HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nbo\r\n2\r\ndy\r\n0\r\n\r\n");
    CHECK(client.receive().value().body == "POST /chunks body");
}

TEST_CASE("HTTP server: a client that asks first is told to go on")
{
    const HttpServerThread server(patient(), echo());
    HttpClient client(server.port());
    client.send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\nExpect: 100-continue\r\n\r\n");
    CHECK(client.receiveHead().value().status == 100);
    client.send("body");
    CHECK(client.receive().value().body == "POST / body");
}

TEST_CASE("HTTP server: the connection ends when the client says so")
{
    const HttpServerThread server(patient(), echo());
    HttpClient newer(server.port());
    newer.send("GET / HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
    CHECK(newer.receive().value().header("connection") == "close");
    CHECK(newer.isClosed());
    HttpClient older(server.port());
    older.send("GET / HTTP/1.0\r\n\r\n");
    CHECK(older.receive().value().status == 200);
    CHECK(older.isClosed());
}

TEST_CASE("HTTP server: a head beyond the limit is refused and the connection ends")
{
    const HttpServerThread server(patient(), echo());
    HttpClient client(server.port());
    client.send("GET / HTTP/1.1\r\nHost: x\r\nX-Long: " + std::string(100000, 'x') + "\r\n\r\n");
    CHECK(client.receive().value().status == 431);
    CHECK(client.isClosed());
    CHECK(ask(server.port(), "GET", "/" + std::string(3000, 'x')).status == 431);
    CHECK(ask(server.port(), "GET", "/" + std::string(1800, 'x')).status == 200);
}

TEST_CASE("HTTP server: of what follows a refusal a bounded part is read, and then the connection ends")
{
    const HttpServerThread server(patient(), echo());
    HttpClient client(server.port());
    client.send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 99999999999\r\n\r\n");
    CHECK(client.receive().value().status == 413);
    constexpr int kMostMiB = 64; // buffers of the system take some, too
    int sent = 0;
    while (sent < kMostMiB && client.send(std::string(1 << 20, 'x')))
        ++sent;
    CHECK(sent < kMostMiB);
}

TEST_CASE("HTTP server: a body beyond the limit is refused, announced or not, and one at the limit is not")
{
    const HttpServerThread server(patient(), echo());
    CHECK(ask(server.port(), "POST", "/", std::string(1000, 'x')).status == 200);
    CHECK(ask(server.port(), "POST", "/", std::string(1001, 'x')).status == 413);
    CHECK(ask(server.port(), "POST", "/", std::string(300000, 'x')).status == 413);

    HttpClient announced(server.port());
    announced.send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 99999999999\r\n\r\n");
    CHECK(announced.receive().value().status == 413);

    // The refusal must not be lost in a reset of the connection while the body is still on its way.
    HttpClient large(server.port());
    CHECK(large.send(requestText("POST", "/", std::string(900000, 'x'))));
    CHECK(large.receive().value().status == 413);

    HttpClient chunked(server.port());
    chunked.send("POST / HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n");
    const std::string chunk = "100\r\n" + std::string(256, 'x') + "\r\n";
    chunked.send(chunk + chunk + chunk + chunk);
    CHECK(chunked.receive().value().status == 413);
}

TEST_CASE("HTTP server: what is not HTTP is refused")
{
    const HttpServerThread server(patient(), echo());
    for (const char* bytes : {"nonsense\r\n\r\n", "GET / HTTP/1.1\r\n\r\n", "GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n",
                              "GET / HTTP/1.1\r\nHost: x\r\nContent-Length: -1\r\n\r\n",
                              "POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"}) {
        CAPTURE(bytes);
        HttpClient client(server.port());
        client.send(bytes);
        const auto answer = client.receive();
        REQUIRE(answer);
        CHECK(answer->status == 400);
        CHECK(client.isClosed());
    }
}

TEST_CASE("HTTP server: a client that begins and falls silent is sent away")
{
    const HttpServerThread server(impatient(), echo());
    HttpClient silent(server.port());
    HttpClient inHead(server.port());
    HttpClient inBody(server.port());
    inHead.send("GET / HTTP/1.1\r\nHost: x\r\nX-");
    inBody.send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 10\r\n\r\nbody");
    CHECK(silent.isClosed());
    CHECK(inHead.isClosed());
    CHECK(inBody.isClosed());
    // On a busy machine a client may come too late with its request, and then comes again.
    std::unique_ptr<HttpClient> kept;
    const auto isServed = [&] {
        kept = std::make_unique<HttpClient>(server.port());
        kept->send(requestText("GET", "/"));
        const auto answer = kept->receive();
        return answer && answer->status == 200;
    };
    CHECK(TestSupport::pumpUntil(isServed));
    CHECK(kept->isClosed());
}

TEST_CASE("HTTP server: a byte now and then does not prolong the time")
{
    const HttpServerThread server(impatient(), echo());
    HttpClient client(server.port());
    client.send("GET / HTTP/1.1\r\nHost: x\r\nX-Slow: ");
    const auto begin = std::chrono::steady_clock::now();
    bool closed = false;
    while (!closed && std::chrono::steady_clock::now() - begin < TestSupport::kPatience)
        closed = !client.send("x") || client.isClosedWithin(20ms);
    CHECK(closed);
}

TEST_CASE("HTTP server: a handler that throws costs its request an error and nothing else")
{
    const HttpServerThread server(patient(), echo());
    TestSupport::expectWarning("HttpServer # A request failed and was answered with 500 (on purpose)");
    HttpClient client(server.port());
    client.send(requestText("GET", "/throw"));
    CHECK(client.receive().value().status == 500);
    client.send(requestText("GET", "/after"));
    CHECK(client.receive().value().body == "GET /after ");
    TestSupport::expectWarning("HttpServer # A request failed and was answered with 500 (unknown exception)");
    client.send(requestText("GET", "/throw-number"));
    CHECK(client.receive().value().status == 500);
    client.send(requestText("GET", "/after"));
    CHECK(client.receive().value().body == "GET /after ");
}

TEST_CASE("HTTP server: a hangup whose handler throws is an error, and the server runs on")
{
    Server server;
    int hangups = 0;
    server.onHangup([&] {
        if (++hangups == 2)
            return server.stop();
        std::raise(SIGHUP);
        throw 7;
    });
    TestSupport::expectError("HttpServer # The handler of a hangup failed (unknown exception)");
    std::raise(SIGHUP);
    server.run();
    CHECK(hangups == 2);
}

TEST_CASE("HTTP server: idle connections do not keep other clients from being served")
{
    Limits limits = patient();
    limits.clients.connections = 4;
    const HttpServerThread server(limits, echo());
    TestSupport::expectWarning("HttpServer # All connections are in use; the one that has waited longest makes room for a new "
                               "one (4 connections)");
    HttpClient kept(server.port());
    HttpClient silent(server.port());
    HttpClient inHead(server.port());
    inHead.send("GET / HTTP/1.1\r\nHost: x\r\nX-");
    HttpClient inBody(server.port());
    // Connections are accepted in their order: with this answer all four are in.
    inBody.send(requestText("GET", "/"));
    REQUIRE(inBody.receive());
    inBody.send("POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 10\r\n\r\nbody");
    kept.send(requestText("GET", "/"));
    REQUIRE(kept.receive());

    HttpClient first(server.port());
    first.send(requestText("GET", "/first"));
    CHECK(first.receive().value().body == "GET /first ");
    CHECK(silent.isClosed());
    HttpClient second(server.port());
    second.send(requestText("GET", "/second"));
    CHECK(second.receive().value().body == "GET /second ");
    CHECK(inHead.isClosed());
    HttpClient third(server.port());
    third.send(requestText("GET", "/third"));
    CHECK(third.receive().value().body == "GET /third ");
    CHECK(inBody.isClosed());
    // The connection that was served last stays longest.
    kept.send(requestText("GET", "/again"));
    CHECK(kept.receive().value().body == "GET /again ");
}

TEST_CASE("HTTP server: connections that have ended count no more")
{
    Limits limits = patient();
    limits.clients.connections = 8;
    const HttpServerThread server(limits, echo());
    // A warning that all connections are in use would fail the test.
    for (int i = 0; i < 40; ++i)
        REQUIRE(ask(server.port(), "GET", "/").status == 200);
}

TEST_CASE("HTTP server: one address has only so many connections, this machine any number")
{
    // The server listens on the loopback address, and so treats a client with another one as a client from outside.
    const std::string outside = addressOfThisMachine();
    if (outside.empty()) {
        MESSAGE("This machine has no network: nothing to be seen here.");
        return;
    }
    Limits limits = patient();
    limits.clients.perAddress = 2;
    const HttpServerThread server(limits, echo());
    std::vector<std::unique_ptr<HttpClient>> own;
    for (int i = 0; i < 4; ++i)
        own.push_back(std::make_unique<HttpClient>(server.port()));
    HttpClient first(server.port(), outside);
    HttpClient second(server.port(), outside);
    HttpClient third(server.port(), outside);
    CHECK(first.isClosed());
    for (HttpClient* client : {&second, &third, own[0].get(), own[1].get(), own[2].get(), own[3].get()}) {
        client->send(requestText("GET", "/"));
        REQUIRE(client->receive());
    }
}

TEST_CASE("HTTP server: downloads that their clients do not read leave connections for others, and one too many is answered "
          "\"come later\"")
{
    constexpr std::size_t kBytes = 20'000'000; // more than the system keeps for a client that does not read
    QTemporaryFile large;
    REQUIRE(large.open());
    REQUIRE(large.write(QByteArray(kBytes, 'x')) == kBytes);
    REQUIRE(large.flush());
    Limits limits = patient();
    limits.clients.connections = 16;
    limits.clients.keptFree = 8;
    const HttpServerThread server(limits, [&large](const QString&) -> HttpServerThread::Handler {
        return [name = large.fileName().toLocal8Bit()](const Request& request) {
            Response response = plainResponse(200, request.method);
            if (request.target == "/large")
                response.file = File(::open(name.constData(), O_RDONLY | O_CLOEXEC));
            else if (request.target == "/text")
                response.body = QByteArray(kBytes, 'x');
            return response;
        };
    });
    std::vector<std::unique_ptr<HttpClient>> downloads;
    for (int i = 0; i < 8; ++i) {
        downloads.push_back(std::make_unique<HttpClient>(server.port()));
        downloads.back()->send(requestText("GET", i == 0 ? "/text" : "/large"));
        // The server is at the next request when it has answered one.
        REQUIRE(ask(server.port(), "GET", "/").status == 200);
    }
    TestSupport::expectWarning("HttpServer # Too many downloads at a time; some were answered with 503 (16 connections)");
    for (const char* target : {"/large", "/text"}) {
        const HttpAnswer late = ask(server.port(), "GET", target);
        CHECK(late.status == 503);
        CHECK(late.header("retry-after") == "5");
    }
    CHECK(ask(server.port(), "HEAD", "/large").status == 200);
    CHECK(ask(server.port(), "POST", "/", "command").body == "POST");

    downloads.front()->close();
    HttpAnswer again;
    // The server learns of the end with its next piece for the connection.
    for (int i = 0; i < 500 && again.status != 200; ++i)
        again = ask(server.port(), "GET", "/large");
    CHECK(again.status == 200);
    CHECK(again.body.size() == kBytes);
    // A download that has ended counts no more, though its connection is kept.
    CHECK(downloads[1]->receive().value().body.size() == kBytes);
    HttpClient another(server.port());
    another.send(requestText("GET", "/large"));
    CHECK(another.receiveHead().value().status == 200);
    HttpClient last(server.port());
    last.send(requestText("GET", "/large"));
    CHECK(last.receiveHead().value().status == 200);
}

TEST_CASE("HTTP server: a stop closes idle connections at once")
{
    HttpServerThread server(patient(), echo());
    HttpClient idle(server.port());
    idle.send(requestText("GET", "/"));
    REQUIRE(idle.receive());
    // When another client has been served, this connection certainly waits for its next request.
    REQUIRE(ask(server.port(), "GET", "/").status == 200);
    server.stop();
    CHECK(idle.isClosed());
}

TEST_CASE("HTTP server: a stop lets a started request finish")
{
    std::promise<void> reached;
    std::promise<void> goOn;
    HttpServerThread server(patient(), [&](const QString&) -> HttpServerThread::Handler {
        return [&](const Request&) {
            reached.set_value();
            goOn.get_future().wait();
            return plainResponse(200, "whole");
        };
    });
    HttpClient client(server.port());
    client.send(requestText("GET", "/"));
    reached.get_future().wait();
    server.stop();
    goOn.set_value();
    const auto answer = client.receive();
    REQUIRE(answer);
    CHECK(answer->body == "whole");
    CHECK(client.isClosed());
}

TEST_CASE("HTTP server: an address in use is told")
{
    const HttpServerThread server(patient(), echo());
    Server other;
    Address address;
    address.host = QStringLiteral("127.0.0.1");
    address.port = server.port();
    const auto inUse = other.listen(address, patient(), [](const Request&, Reply) {});
    REQUIRE_FALSE(inUse);
    CHECK(inUse.error().startsWith(QStringLiteral("Cannot listen on 127.0.0.1 port %1: ").arg(server.port())));
}

TEST_CASE("HTTP server: an answer may come later and from another thread, and the next request waits for it")
{
    std::promise<Reply> taken;
    const HttpServerThread server(patient(), [&](const Request& request, Reply reply) {
        if (request.target == "/later")
            taken.set_value(std::move(reply));
        else
            reply.send(plainResponse(200, request.target));
    });
    HttpClient client(server.port());
    client.send(requestText("GET", "/later") + requestText("GET", "/next"));
    Reply reply = taken.get_future().get();
    // Another connection is served meanwhile.
    CHECK(ask(server.port(), "GET", "/other").body == "/other");
    reply.send(plainResponse(200, "at last"));
    CHECK(client.receive().value().body == "at last");
    CHECK(client.receive().value().body == "/next");
}

TEST_CASE("HTTP server: a reply that is dropped answers 500, and one whose server is gone does nothing")
{
    std::promise<Reply> taken;
    Limits limits = patient();
    limits.grace = 20ms;
    {
        const HttpServerThread server(limits, [&](const Request& request, Reply reply) {
            if (request.target == "/keep")
                taken.set_value(std::move(reply));
        });
        CHECK(ask(server.port(), "GET", "/drop").status == 500);
        HttpClient client(server.port());
        client.send(requestText("GET", "/keep"));
        // The server ends while the answer is owed: it waits for the time of grace, no longer.
        Reply reply = taken.get_future().get();
        taken = {};
        taken.set_value(std::move(reply));
    }
    taken.get_future().get().send(plainResponse(200, "too late"));
}

TEST_CASE("HTTP server: a chunk extension without an end is bounded")
{
    const HttpServerThread server(patient(), echo());
    HttpClient client(server.port());
    client.send("POST / HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n4;");
    const std::string piece(64 * 1024, 'x');
    bool goesOn = true;
    for (int i = 0; i < 64 && goesOn; ++i)
        goesOn = client.send(piece);
    const auto answer = client.receive();
    // Refused, or cut off while it was still sending.
    CHECK((!goesOn || (answer && answer->status == 431)));
    CHECK(ask(server.port(), "GET", "/").status == 200);
}

TEST_CASE("HTTP server: a Unix socket serves its user alone, and the file of a dead server is replaced")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("door"));
    const QString address = QStringLiteral("unix:") + path;
    const auto hello = [](const Request& request, Reply reply) { reply.send(plainResponse(200, request.target)); };
    const auto talk = [&path] {
        QLocalSocket socket;
        socket.connectToServer(path);
        if (!socket.waitForConnected(TestSupport::kPatienceMs))
            return QByteArray();
        socket.write("GET /hello HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
        while (socket.waitForReadyRead(TestSupport::kPatienceMs)) {}
        return socket.readAll();
    };
    {
        const HttpServerThread server(patient(), hello, address);
        CHECK(talk().endsWith("/hello"));
        struct stat status = {};
        REQUIRE(::stat(path.toLocal8Bit().constData(), &status) == 0);
        CHECK((status.st_mode & 0777) == 0600);

        Server second;
        const auto inUse = second.listen(*Address::parse(address), patient(), hello);
        REQUIRE_FALSE(inUse);
        CHECK(inUse.error()
              == QStringLiteral("Cannot listen on the Unix socket \"%1\": Address already in use; end the program that listens "
                                "there, or give another address")
                     .arg(path));
    }
    CHECK_FALSE(QFile::exists(path));

    // A server that is killed leaves its file behind.
    const int dead = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    qstrncpy(name.sun_path, path.toLocal8Bit().constData(), sizeof name.sun_path);
    REQUIRE(::bind(dead, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0);
    ::close(dead);
    REQUIRE(QFile::exists(path));
    // That of another user stays. Only the superuser can try it.
    constexpr uid_t kOther = 65534;
    if (::geteuid() == 0 && ::chown(path.toLocal8Bit().constData(), kOther, kOther) == 0) {
        Server other;
        CHECK_FALSE(other.listen(*Address::parse(address), patient(), hello));
        CHECK(QFile::exists(path));
        REQUIRE(::chown(path.toLocal8Bit().constData(), ::geteuid(), ::getegid()) == 0);
    }
    const HttpServerThread server(patient(), hello, address);
    CHECK(talk().endsWith("/hello"));
}

TEST_CASE("HTTP server: the socket of another server, which took the place of a removed one, stays when this one ends")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("door"));
    const auto address = Address::parse(QStringLiteral("unix:") + path);
    const auto hello = [](const Request&, Reply) {};
    Server second;
    {
        Server first;
        REQUIRE(first.listen(*address, patient(), hello));
        REQUIRE(QFile::remove(path));
        REQUIRE(second.listen(*address, patient(), hello));
    }
    CHECK(QFile::exists(path));
}

TEST_CASE("HTTP server: a Unix socket replaces no file, and its path has a bound")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file"));
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.close();
    Server server;
    CHECK_FALSE(server.listen(*Address::parse(QStringLiteral("unix:") + path), patient(), [](const Request&, Reply) {}));
    CHECK(QFile::exists(path));
    const auto tooLong = server.listen(*Address::parse(QStringLiteral("unix:/") + QString(200, QLatin1Char('x'))), patient(),
                                       [](const Request&, Reply) {});
    REQUIRE_FALSE(tooLong);
    CHECK(tooLong.error().endsWith(QLatin1String("the path has more than 107 bytes")));
}

TEST_CASE("HTTP server: posted functions run on its thread in their order, one that throws is logged, and none runs afterwards")
{
    Server::Poster post;
    std::vector<std::thread::id> threads;
    std::promise<void> ended;
    bool ranAfterwards = false;
    TestSupport::expectError("HttpServer # A function that was posted failed (out of paper)");
    {
        Server server;
        post = server.poster();
        const auto listening = server.listen(*Address::parse(QStringLiteral("127.0.0.1:0")), patient(), [](Request, Reply) {});
        REQUIRE(listening);
        std::thread running([&server] { server.run(); });
        const auto serverThread = running.get_id();
        post([] { throw std::runtime_error("out of paper"); });
        post([&] { threads.push_back(std::this_thread::get_id()); });
        post([&] {
            threads.push_back(std::this_thread::get_id());
            ended.set_value();
        });
        ended.get_future().wait();
        server.stop();
        running.join();
        CHECK(threads == std::vector<std::thread::id>(2, serverThread));
    }
    post([&ranAfterwards] { ranAfterwards = true; });
    CHECK_FALSE(ranAfterwards);
}
