#include "DeadlineTimer.hpp"

#include "Connection.hpp"

#include <doctest/doctest.h>

#include <boost/asio/local/connect_pair.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <memory>
#include <string>

using namespace Http;
using namespace std::chrono_literals;

namespace
{

namespace asio = boost::asio;
using Clock = Connection::Clock;

/// A door with one connection, whose client's end the test holds, and an event loop without any timer.
struct OneConnection
{
    explicit OneConnection(std::chrono::milliseconds timeout)
    {
        door.limits.timeout = timeout;
        door.connectionEnded = [] {};
        asio::local::stream_protocol::socket other(context);
        asio::local::connect_pair(client, other);
        Connection::Socket served(context, asio::generic::stream_protocol(AF_UNIX, 0), other.release());
        const auto made = std::make_shared<Connection>(door, std::move(served), std::string());
        connection = made;
        door.connections.insert(made.get());
        made->readNext();
    }
    ~OneConnection()
    {
        if (const auto alive = connection.lock())
            alive->giveUp();
        owed.reset();
        run();
    }

    /// Whether the connection is there after its deadline was checked at that time.
    bool isThereAt(Clock::time_point time)
    {
        if (const auto alive = connection.lock())
            alive->endIfOverdue(time);
        run();
        return !connection.expired();
    }

    void send(const std::string& text)
    {
        asio::write(client, asio::buffer(text));
        run();
    }

    void run()
    {
        context.restart();
        context.poll();
    }

    std::shared_ptr<Gate> gate = std::make_shared<Gate>();
    std::unique_ptr<Reply> owed;
    Door door{Limits{}, [this](const Request&, Reply reply) { owed = std::make_unique<Reply>(std::move(reply)); }, gate};
    asio::io_context context;
    asio::local::stream_protocol::socket client{context};
    std::weak_ptr<Connection> connection;
};

constexpr auto kTimeout = 10min;

} // namespace

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
            read += one.client.read_some(asio::buffer(&part[read], part.size() - read));
            one.run();
        }
        CHECK(one.isThereAt(after + kTimeout) == !isMade);
        CHECK_FALSE(one.isThereAt(Clock::now() + kTimeout));
    }
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

TEST_CASE("HTTP deadline timer: ends what is overdue by itself, and runs only while there are connections")
{
    OneConnection one(1ms);
    DeadlineTimer timer(one.context, one.door);
    timer.start();
    timer.start();
    one.context.restart();
    one.context.run(); // returns when nothing is left to be done, the timer's work included
    CHECK(one.connection.expired());

    // It begins again with the next connection.
    asio::local::stream_protocol::socket other(one.context);
    asio::local::stream_protocol::socket served(one.context);
    asio::local::connect_pair(other, served);
    const std::weak_ptr<Connection> next = [&] {
        const auto made = std::make_shared<Connection>(
            one.door, Connection::Socket(one.context, asio::generic::stream_protocol(AF_UNIX, 0), served.release()),
            std::string());
        one.door.connections.insert(made.get());
        made->readNext();
        return made;
    }();
    timer.start();
    one.context.restart();
    one.context.run();
    CHECK(next.expired());
}

TEST_CASE("HTTP deadline timer: one that was stopped keeps no event loop running")
{
    OneConnection one(10min);
    DeadlineTimer timer(one.context, one.door);
    timer.start();
    timer.stop();
    one.client.close();
    one.context.restart();
    one.context.run();
    CHECK(one.connection.expired());
}

TEST_CASE("HTTP deadline timer: its period is a sixteenth of the timeout within bounds")
{
    CHECK(DeadlineTimer::period(10s) == 250ms);
    CHECK(DeadlineTimer::period(4s) == 250ms);
    CHECK(DeadlineTimer::period(1600ms) == 100ms);
    CHECK(DeadlineTimer::period(200ms) == 12ms);
    CHECK(DeadlineTimer::period(10ms) == 5ms);
}
