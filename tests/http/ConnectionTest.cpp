#include "Connection.hpp"

#include "OneConnection.hpp"

#include <doctest/doctest.h>

#include <boost/asio/read.hpp>

#include <algorithm>

using namespace Http;
using namespace std::chrono_literals;
using boost::asio::ip::make_address;
using Clock = Connection::Clock;

// What a connection sends and receives is tested with its server, too.

namespace
{
constexpr auto kTimeout = 10min;
}

TEST_CASE("HTTP connection: this machine has no address of its own, whichever it uses; others have theirs, and those of IPv6 "
          "share one per network, but for link-local ones")
{
    struct Row
    {
        const char* remote;
        const char* local;
        const char* client;
    };
    const Row rows[] = {
        {"127.0.0.1", "127.0.0.1", ""},
        {"127.0.0.5", "127.0.0.1", ""},
        {"::1", "::1", ""},
        {"::ffff:127.0.0.1", "::ffff:127.0.0.1", ""},
        {"192.0.2.5", "192.0.2.5", ""},
        {"192.0.2.6", "192.0.2.5", "192.0.2.6"},
        {"::ffff:192.0.2.6", "::ffff:192.0.2.5", "192.0.2.6"},
        {"2001:db8::6", "2001:db8::5", "2001:db8::/64"},
        {"2001:db8::aaaa:bbbb:cccc:dddd", "2001:db8:0:1::5", "2001:db8::/64"},
        {"2001:db8:1:2:3:4:5:6", "2001:db8::5", "2001:db8:1:2::/64"},
        {"2001:db8::5", "2001:db8::5", ""},
        {"fe80::6", "fe80::5", "fe80::6"},
        {"fe80::7", "fe80::5", "fe80::7"},
        {"febf::1:2:3:4", "fe80::5", "febf::1:2:3:4"},
        {"fec0::6", "fe80::5", "fec0::/64"},
        {"fe80::5", "fe80::5", ""},
    };
    for (const Row& row : rows) {
        CAPTURE(row.remote);
        CHECK(Connection::clientAddress(make_address(row.remote), make_address(row.local)) == row.client);
    }
}

// A deadline is set between two times that a test reads.

TEST_CASE("HTTP deadline: a connection that waits for a request ends at the timeout, and what has come of it prolongs nothing")
{
    for (const char* sent : {"", "GET / HT", "POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\nbo",
                             "POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\nExpect: 100-continue\r\n\r\n"}) {
        CAPTURE(sent);
        const auto before = Clock::now();
        OneConnection one(kTimeout);
        const auto after = Clock::now();
        one.send(sent);
        CHECK(one.isThereAt(before + kTimeout - 1ms));
        CHECK_FALSE(one.isThereAt(after + kTimeout));
    }
}

TEST_CASE("HTTP deadline: a handler has the time that it takes, and the client the timeout for its next request")
{
    OneConnection one(kTimeout);
    one.gate->context = &one.context;
    one.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    REQUIRE(one.owed);
    CHECK(one.isThereAt(Clock::now() + 100 * kTimeout));
    const auto before = Clock::now();
    one.owed->send(plainResponse(200, "here"));
    one.run();
    const auto after = Clock::now();
    CHECK(one.isThereAt(before + kTimeout - 1ms));
    CHECK_FALSE(one.isThereAt(after + kTimeout));
}

TEST_CASE("HTTP deadline: an answer that the client does not read ends with its connection, each part that it reads prolongs it")
{
    for (const bool isMade : {false, true}) {
        CAPTURE(isMade);
        OneConnection one(kTimeout);
        one.gate->context = &one.context;
        one.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
        REQUIRE(one.owed);
        Response response = plainResponse(200, isMade ? QByteArray() : QByteArray(4'000'000, 'x'));
        // One piece, for which a client has the timeout once.
        if (isMade)
            response.pieces = [] { return QByteArray(4'000'000, 'x'); };
        const auto before = Clock::now();
        one.owed->send(std::move(response));
        one.run();
        const auto after = Clock::now();
        CHECK(one.isThereAt(before + kTimeout - 1ms));
        std::string part(1'000'000, ' ');
        // Read as it comes: more than the system keeps for a client.
        std::size_t read = 0;
        while (read < part.size()) {
            read += one.client.read_some(boost::asio::buffer(&part[read], part.size() - read));
            one.run();
        }
        CHECK(one.isThereAt(after + kTimeout) == !isMade);
        CHECK_FALSE(one.isThereAt(Clock::now() + kTimeout));
    }
}

TEST_CASE("HTTP deadline: an answer of which nothing can leave, because the client reads none, ends with its connection")
{
    constexpr int kMostAnswers = 10000; // far more than the system keeps
    OneConnection one(kTimeout);
    one.gate->context = &one.context;
    Clock::time_point before;
    Clock::time_point after;
    for (int i = 0; i < kMostAnswers; ++i) {
        one.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
        // The next request is read when the answer has left.
        if (!one.owed)
            break;
        const auto reply = std::move(one.owed);
        before = Clock::now();
        reply->send(plainResponse(200, QByteArray(1000, 'x')));
        one.run();
        after = Clock::now();
    }
    REQUIRE_FALSE(one.owed);
    CHECK(one.isThereAt(before + kTimeout - 1ms));
    CHECK_FALSE(one.isThereAt(after + kTimeout));
}

TEST_CASE("HTTP deadline: after a refusal a client has two seconds to end its sending, or the timeout when that is shorter")
{
    for (const auto timeout : {std::chrono::milliseconds(10min), 1000ms}) {
        OneConnection one(timeout);
        const auto stays = std::min<std::chrono::milliseconds>(timeout, 2s);
        const auto before = Clock::now();
        one.send("nonsense\r\n\r\n");
        const auto after = Clock::now();
        CHECK(one.isThereAt(before + stays - 1ms));
        CHECK_FALSE(one.isThereAt(after + stays));
    }
}

TEST_CASE("HTTP connection: a client that ends its sending within a request is refused, between requests it is not answered")
{
    for (const char* sent : {"", "GET / HT", "POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\nbo"}) {
        CAPTURE(sent);
        OneConnection one(kTimeout);
        one.send(sent);
        one.client.shutdown(boost::asio::local::stream_protocol::socket::shutdown_send);
        one.run();
        std::string answer(1000, ' ');
        boost::system::error_code end;
        const std::size_t size = boost::asio::read(one.client, boost::asio::buffer(answer), end);
        CHECK(end == boost::asio::error::eof);
        CHECK(answer.substr(0, std::min<std::size_t>(size, 12)) == (*sent ? "HTTP/1.1 400" : ""));
    }
}

TEST_CASE("HTTP connection: what makes a body is gone when it has left, though the connection is kept")
{
    OneConnection one(kTimeout);
    one.gate->context = &one.context;
    one.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    REQUIRE(one.owed);
    const auto held = std::make_shared<int>(0);
    Response response;
    response.pieces = [held] { return QByteArray(); };
    one.owed->send(std::move(response));
    one.owed.reset();
    one.run();
    CHECK(held.use_count() == 1);
    CHECK(one.isThereAt(Clock::now()));
}
