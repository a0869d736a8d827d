// Bodies that are made while they are sent.

#include <Http/Server.hpp>

#include "HttpClient.hpp"
#include "HttpServerThread.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <doctest/doctest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>

using namespace Http;

namespace
{

/// Answers with as many pieces as the target says, of 3000 bytes each; "/fail" and "/throw" after one.
struct Pieces
{
    Response answer(const QByteArray& target)
    {
        Response response;
        response.contentType = "text/plain";
        const int count = target.mid(1).toInt();
        response.pieces = [this, target, count, made = std::make_shared<int>(0)]() -> std::optional<QByteArray> {
            ++calls;
            if (*made == 1 && target == "/fail")
                return std::nullopt;
            if (*made == 1 && target == "/throw")
                throw std::runtime_error("no disk");
            if (++*made > count && count > 0)
                return QByteArray();
            return QByteArray(3000, static_cast<char>('a' + *made % 26));
        };
        return response;
    }

    std::atomic<int> calls{0};
    HttpServerThread server{Limits{}, [this](const QString&) -> HttpServerThread::Handler {
                                return [this](const Request& request) { return answer(request.target); };
                            }};
};

} // namespace

TEST_CASE("HTTP server: a body that is made while it is sent comes whole, and the connection goes on")
{
    Pieces pieces;
    HttpClient client(pieces.server.port());
    for (const char* target : {"/3", "/1", "/200"}) {
        REQUIRE(client.send(requestText("GET", target)));
        const auto answer = client.receive();
        REQUIRE(answer);
        CHECK(answer->status == 200);
        CHECK(answer->header("transfer-encoding") == "chunked");
        CHECK(answer->header("content-length").empty());
        CHECK(answer->body.size() == 3000u * static_cast<unsigned>(std::stoi(target + 1)));
        CHECK(answer->body.substr(0, 1) == "b");
    }
    CHECK(pieces.calls == 3 + 1 + 200 + 3); // with the ends
}

TEST_CASE("HTTP server: HEAD makes no piece of a body")
{
    Pieces pieces;
    HttpClient client(pieces.server.port());
    REQUIRE(client.send(requestText("HEAD", "/3")));
    CHECK(client.receiveHead().value().header("transfer-encoding") == "chunked");
    CHECK(pieces.calls == 0);
    REQUIRE(client.send(requestText("GET", "/1")));
    CHECK(client.receive().value().body.size() == 3000);
}

TEST_CASE("HTTP server: to an old client a body that is made while it is sent ends with the connection")
{
    Pieces pieces;
    HttpClient client(pieces.server.port());
    REQUIRE(client.send("GET /2 HTTP/1.0\r\nConnection: keep-alive\r\n\r\n"));
    const auto answer = client.receive(); // without a length the test's client reads no body
    REQUIRE(answer);
    CHECK(answer->header("transfer-encoding").empty());
    CHECK(answer->header("connection") != "keep-alive");
    CHECK(TestSupport::pumpUntil([&pieces] { return pieces.calls == 3; }));
}

TEST_CASE("HTTP server: a body that fails in the middle is cut, which no client takes for whole")
{
    Pieces pieces;
    for (const char* target : {"/fail", "/throw"}) {
        CAPTURE(target);
        if (std::string(target) == "/throw")
            TestSupport::expectWarning("HttpServer # An answer was cut in the middle of its body (no disk)");
        HttpClient client(pieces.server.port());
        REQUIRE(client.send(requestText("GET", target)));
        CHECK_FALSE(client.receive());
    }
}
