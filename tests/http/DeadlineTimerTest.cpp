#include "DeadlineTimer.hpp"

#include "OneConnection.hpp"

#include <doctest/doctest.h>

using namespace Http;
using namespace std::chrono_literals;

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
    boost::asio::local::stream_protocol::socket other(one.context);
    boost::asio::local::stream_protocol::socket served(one.context);
    boost::asio::local::connect_pair(other, served);
    const std::weak_ptr<Connection> next = [&] {
        const auto made = std::make_shared<Connection>(
            one.door, Connection::Socket(one.context, boost::asio::generic::stream_protocol(AF_UNIX, 0), served.release()),
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
