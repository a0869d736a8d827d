#pragma once

#include "Door.hpp"

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>

#include <sys/types.h>

namespace Http
{
/// Accepts the connections of one door. On the server's thread; borrows the door, which outlives it.
class Listener
{
public:
    Listener(boost::asio::io_context& context, Door& door);
    ~Listener();

    /// Where it listens now, or a sentence for the operator.
    [[nodiscard]] tl::expected<Server::Listening, QString> open(const Address& address);
    void acceptNext();
    /// Accepts nothing any more; removes the file of a Unix socket.
    void close();

private:
    using Protocol = boost::asio::generic::stream_protocol;
    using Socket = boost::asio::basic_stream_socket<Protocol, boost::asio::io_context::executor_type>;

    [[nodiscard]] QString openTcp(const Address& address);
    [[nodiscard]] QString openUnixSocket(const QString& path);
    void accept(boost::system::error_code error);
    void letIn(Socket socket);

    boost::asio::io_context& m_context;
    Door& m_door;
    boost::asio::basic_socket_acceptor<Protocol, boost::asio::io_context::executor_type> m_acceptor;
    boost::asio::steady_timer m_pause;
    /// The file of a Unix socket, to be removed while it is the one that was made.
    std::string m_socketFile;
    ino_t m_socketNumber = 0;
};
}
