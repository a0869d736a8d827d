#include "OutgoingAnswer.hpp"

#include <Http/Server.hpp>

#include "HttpClient.hpp"
#include "HttpServerThread.hpp"

#include <EventLoop.hpp>
#include <LogCapture.hpp>
#include <doctest/doctest.h>

#include <QTemporaryFile>

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

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

/// All bytes of an answer that leaves in parts of `most` bytes, and how its sending ends.
struct SentAnswer
{
    SentAnswer(Response response, const OutgoingAnswer::Manner& manner, std::size_t most = 1000000)
    {
        answer.begin(std::move(response), manner, "today");
        do {
            while (answer.hasBytes()) {
                std::size_t left = most;
                for (const auto& buffer : answer.buffers()) {
                    const std::size_t taken = std::min(left, buffer.size());
                    bytes.append(static_cast<const char*>(buffer.data()), taken);
                    left -= taken;
                }
                answer.wrote(most - left);
            }
            end = answer.next();
        } while (end == OutgoingAnswer::Next::Bytes);
        keepsConnection = answer.keepsConnection();
        answer.end();
    }

    [[nodiscard]] std::string body() const { return bytes.substr(bytes.find("\r\n\r\n") + 4); }
    [[nodiscard]] bool says(const char* line) const { return bytes.find(line + std::string("\r\n")) < bytes.find("\r\n\r\n"); }

    OutgoingAnswer answer;
    std::string bytes;
    OutgoingAnswer::Next end = OutgoingAnswer::Next::Bytes;
    bool keepsConnection = false;
};

/// "0 1 2 3 …", so many bytes of it.
std::string countedText(std::size_t bytes)
{
    std::string text;
    for (int i = 0; text.size() < bytes; ++i)
        text += std::to_string(i) + ' ';
    text.resize(bytes);
    return text;
}

Response withBody(const std::string& body)
{
    Response response;
    response.body = QByteArray::fromStdString(body);
    return response;
}

/// An answer with a file of that content; `descriptor` is the file's.
Response withFile(const std::string& content, int* descriptor = nullptr)
{
    QTemporaryFile file;
    REQUIRE(file.open());
    REQUIRE(file.write(content.data(), static_cast<qint64>(content.size())) == static_cast<qint64>(content.size()));
    REQUIRE(file.flush());
    Response response;
    response.file = File(::open(file.fileName().toLocal8Bit().constData(), O_RDWR | O_CLOEXEC));
    REQUIRE(response.file.isOpen());
    if (descriptor)
        *descriptor = response.file.descriptor();
    return response;
}

Response withPieces(const std::vector<std::string>& pieces)
{
    Response response;
    response.pieces = [pieces, next = std::size_t(0)]() mutable -> std::optional<QByteArray> {
        return next < pieces.size() ? QByteArray::fromStdString(pieces[next++]) : QByteArray();
    };
    return response;
}

} // namespace

TEST_CASE("outgoing answer: a body of any size leaves whole, whatever part of it the system takes at once")
{
    for (const std::size_t size : {0u, 1u, 4096u, 4097u, 100000u}) {
        for (const std::size_t most : {7u, 4096u, 1000000u}) {
            CAPTURE(size);
            CAPTURE(most);
            const std::string content = countedText(size);
            for (const bool isFile : {false, true}) {
                CAPTURE(isFile);
                const SentAnswer sent(isFile ? withFile(content) : withBody(content), {}, most);
                CHECK(sent.end == OutgoingAnswer::Next::End);
                CHECK(sent.body() == content);
                CHECK(sent.says(("Content-Length: " + std::to_string(size)).c_str()));
                CHECK(sent.keepsConnection);
            }
        }
    }
}

TEST_CASE("outgoing answer: one after the other, each has its own bytes")
{
    OutgoingAnswer answer;
    for (const char* text : {"first", "second, which is longer", "third"}) {
        answer.begin(withBody(text), {}, "today");
        const auto buffers = answer.buffers();
        const std::string head(static_cast<const char*>(buffers[0].data()), buffers[0].size());
        CHECK(head.rfind("HTTP/1.1 200 OK\r\n", 0) == 0);
        CHECK(head.substr(head.find("\r\n\r\n") + 4) == text);
        answer.wrote(head.size());
        CHECK_FALSE(answer.hasBytes());
        CHECK(answer.next() == OutgoingAnswer::Next::End);
        answer.end();
    }
}

TEST_CASE("outgoing answer: a body in chunks has their sizes and its end; to an old client it ends with the connection")
{
    const std::vector<std::string> pieces{"0123456789abcdefg", "x"};
    const SentAnswer chunked(withPieces(pieces), {}, 3);
    CHECK(chunked.body() == "11\r\n0123456789abcdefg\r\n1\r\nx\r\n0\r\n\r\n");
    CHECK(chunked.says("Transfer-Encoding: chunked"));
    CHECK(chunked.keepsConnection);
    CHECK(chunked.end == OutgoingAnswer::Next::End);
    CHECK(SentAnswer(withPieces({}), {}).body() == "0\r\n\r\n");

    const SentAnswer old(withPieces(pieces), {10, true, false});
    CHECK(old.body() == "0123456789abcdefgx");
    CHECK_FALSE(old.keepsConnection);
    CHECK_FALSE(old.says("Connection: keep-alive"));
}

TEST_CASE("outgoing answer: a head alone has the body's length and nothing of it")
{
    for (const bool isFile : {false, true}) {
        const SentAnswer sent(isFile ? withFile("picture") : withBody("picture"), {11, true, true});
        CHECK(sent.body().empty());
        CHECK(sent.says("Content-Length: 7"));
        CHECK(sent.keepsConnection);
    }
    CHECK(SentAnswer(withPieces({"picture"}), {11, true, true}).body().empty());
}

TEST_CASE("outgoing answer: a file that grows is sent as long as it was, one that became shorter is cut")
{
    const std::string content = countedText(100000);
    int descriptor = -1;
    for (const int change : {1000, -1000}) {
        OutgoingAnswer answer;
        answer.begin(withFile(content, &descriptor), {}, "today");
        REQUIRE(::ftruncate(descriptor, static_cast<off_t>(content.size()) + change) == 0);
        if (change < 0)
            TestSupport::expectWarning("HttpServer # An answer was cut in the middle of its file (the file became shorter)");
        std::size_t bytes = 0;
        auto next = OutgoingAnswer::Next::Bytes;
        while (next == OutgoingAnswer::Next::Bytes) {
            bytes += answer.buffers()[1].size();
            answer.wrote(answer.buffers()[0].size() + answer.buffers()[1].size());
            next = answer.next();
        }
        CHECK(next == (change > 0 ? OutgoingAnswer::Next::End : OutgoingAnswer::Next::Failed));
        CHECK(bytes == content.size() + static_cast<std::size_t>(std::min(change, 0)));
    }
}

TEST_CASE("outgoing answer: a file that cannot be read is cut with the reason")
{
    QTemporaryFile file;
    REQUIRE(file.open());
    REQUIRE(file.write("picture") == 7);
    REQUIRE(file.flush());
    Response response;
    response.file = File(::open(file.fileName().toLocal8Bit().constData(), O_WRONLY | O_CLOEXEC));
    TestSupport::expectWarning("HttpServer # An answer was cut in the middle of its file (Bad file descriptor)");
    CHECK(SentAnswer(std::move(response), {}).end == OutgoingAnswer::Next::Failed);
}

TEST_CASE("outgoing answer: at its end it holds neither the file nor what makes its body")
{
    int descriptor = -1;
    const SentAnswer file(withFile("picture", &descriptor), {});
    CHECK(::fcntl(descriptor, F_GETFD) == -1);
    const SentAnswer head(withFile("picture", &descriptor), {11, true, true});
    CHECK(::fcntl(descriptor, F_GETFD) == -1);

    const auto held = std::make_shared<int>(0);
    Response response;
    response.pieces = [held]() -> std::optional<QByteArray> { return std::nullopt; };
    const SentAnswer pieces(std::move(response), {});
    CHECK(pieces.end == OutgoingAnswer::Next::Failed);
    CHECK(held.use_count() == 1);
}

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
