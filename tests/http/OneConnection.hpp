#pragma once

#include "Connection.hpp"

#include <boost/asio/local/connect_pair.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/write.hpp>

#include <chrono>
#include <memory>
#include <string>

/// A door with one connection, whose client's end the test holds, and an event loop without any timer.
struct OneConnection
{
    explicit OneConnection(std::chrono::milliseconds timeout)
    {
        door.limits.timeout = timeout;
        door.connectionEnded = [] {};
        boost::asio::local::stream_protocol::socket other(context);
        boost::asio::local::connect_pair(client, other);
        Http::Connection::Socket served(context, boost::asio::generic::stream_protocol(AF_UNIX, 0), other.release());
        const auto made = std::make_shared<Http::Connection>(door, std::move(served), std::string());
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
    bool isThereAt(Http::Connection::Clock::time_point time)
    {
        if (const auto alive = connection.lock())
            alive->endIfOverdue(time);
        run();
        return !connection.expired();
    }

    void send(const std::string& text)
    {
        boost::asio::write(client, boost::asio::buffer(text));
        run();
    }

    void run()
    {
        context.restart();
        context.poll();
    }

    std::shared_ptr<Http::Gate> gate = std::make_shared<Http::Gate>();
    std::unique_ptr<Http::Reply> owed;
    Http::Door door{Http::Limits{},
                    [this](const Http::Request&, Http::Reply reply) { owed = std::make_unique<Http::Reply>(std::move(reply)); },
                    gate};
    boost::asio::io_context context;
    boost::asio::local::stream_protocol::socket client{context};
    std::weak_ptr<Http::Connection> connection;
};
