#pragma once

#include "ConnectionRoster.hpp"
#include "ResponseHead.hpp"

#include <Bedrock/RareWarnings.hpp>
#include <Http/Server.hpp>

#include <boost/asio/io_context.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <unordered_set>

namespace Http
{
class Connection;

/// The way back to the server's thread for replies from other threads. Shared with the replies: the context is gone when the
/// server is.
struct Gate
{
    std::mutex mutex;
    boost::asio::io_context* context = nullptr; ///< null once the server is being destroyed
};

/// What the connections of one door have in common. Outlives them. On the server's thread.
struct Door
{
    Door(const Limits& limitsToKeep, Server::Handler handlerToCall, std::shared_ptr<Gate> gateToUse)
        : limits(limitsToKeep), handler(std::move(handlerToCall)), gate(std::move(gateToUse)), roster(limitsToKeep.clients)
    {
    }

    Limits limits;
    Server::Handler handler;
    std::shared_ptr<Gate> gate;
    ConnectionRoster roster;
    std::unordered_set<Connection*> connections;
    std::function<void()> connectionBegan; ///< called after a connection has come into `connections`
    std::function<void()> connectionEnded; ///< called after a connection has left `connections`
    bool stopping = false;
    DateText date;
    Bedrock::RareWarnings warnings{"HttpServer"};
};
}
