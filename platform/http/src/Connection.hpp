#pragma once

#include "Door.hpp"
#include "OutgoingAnswer.hpp"

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <array>
#include <chrono>
#include <memory>
#include <optional>

namespace Http
{
/// One client of a door, on the server's thread. It lives as long as an operation on its socket is under way, each of which
/// holds a shared pointer, or as long as the handler owes it an answer.
///
///     reading head -> reading body -> answering -> writing -+-> reading head (kept connection)
///                 \______________\________________________+-> lingering -> gone
///
/// Each state but answering has a deadline, which the door's DeadlineTimer watches.
class Connection final : public ConnectionRoster::Member, public std::enable_shared_from_this<Connection>
{
public:
    using Clock = std::chrono::steady_clock;
    /// Of one kind of event loop, whose calls need not be looked up for each operation.
    using Socket =
        boost::asio::basic_stream_socket<boost::asio::generic::stream_protocol, boost::asio::io_context::executor_type>;

    /// The address of the client as the roster wants it, from the two ends of its connection: empty for this machine.
    [[nodiscard]] static std::string clientAddress(boost::asio::ip::address remote, boost::asio::ip::address local);

    /// `address`: as above.
    Connection(Door& door, Socket socket, std::string address);
    ~Connection() override;

    void readNext();

    /// The server stops: a connection that waits for a request that has not begun ends at once, the others after the answer.
    void finishUp();

    void giveUp() override;

    /// Ends the connection when its time is over at `now`.
    void endIfOverdue(Clock::time_point now);

private:
    enum class State { ReadingHead, ReadingBody, Answering, Writing, Lingering };

    /// The time that the client has from now on.
    void setDeadline(std::chrono::milliseconds time) { m_deadline = Clock::now() + time; }
    /// Parses what has been read, and reads on until head or body are whole.
    void parse();
    void readSome();
    void received(boost::system::error_code error, std::size_t bytes);
    void headRead();
    void readFailed(const boost::system::error_code& error);
    void refuse(int status, const char* text);
    void answer();
    [[nodiscard]] Reply makeReply();
    void answered(Response response);
    void send(Response response, bool keepAlive, bool headOnly);
    void writeSome();
    void wrote(std::size_t bytes);
    void written();
    /// Ends the sending side and reads what the client still sends, within bounds, before the socket is closed.
    void linger();
    void drain();
    void close();

    Door& m_door;
    Socket m_socket;
    Clock::time_point m_deadline = Clock::time_point::max();
    boost::beast::flat_buffer m_buffer;
    std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> m_parser;
    OutgoingAnswer m_outgoing;
    std::shared_ptr<Connection> m_whileAnswering; ///< itself
    State m_state = State::ReadingHead;
    std::size_t m_drained = 0;
    std::array<char, 4096> m_scratch;
};
}
