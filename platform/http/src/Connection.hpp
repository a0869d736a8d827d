#pragma once

#include "Door.hpp"

#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <array>
#include <memory>
#include <optional>

namespace Http
{
/// One client of a door, on the server's thread. It lives as long as an operation on its socket is under way, each of which
/// holds a shared pointer, or as long as the handler owes it an answer.
///
///     reading head -> reading body -> answering -> writing -+-> reading head (kept connection)
///                 \______________\________________________+-> lingering -> gone
class Connection final : public ConnectionRoster::Member, public std::enable_shared_from_this<Connection>
{
public:
    using Socket = boost::asio::generic::stream_protocol::socket;

    /// The address of the client as the roster wants it, from the two ends of its connection: empty for this machine.
    [[nodiscard]] static std::string clientAddress(boost::asio::ip::address remote, boost::asio::ip::address local);

    /// `address`: as above.
    Connection(Door& door, Socket socket, std::string address);
    ~Connection() override;

    void readNext();

    /// The server stops: a connection that waits for a request that has not begun ends at once, the others after the answer.
    void finishUp();

    void giveUp() override;

private:
    using Stream = boost::beast::basic_stream<boost::asio::generic::stream_protocol>;
    enum class State { ReadingHead, ReadingBody, Answering, Writing, Lingering };

    void headRead(const boost::system::error_code& error);
    void readBody();
    void readFailed(const boost::system::error_code& error);
    void refuse(int status, const char* text);
    void answer();
    [[nodiscard]] Reply makeReply();
    void answered(Response response);
    void send(Response response, bool keepAlive, bool headOnly);
    void sendFile(Response response, bool keepAlive, bool headOnly);
    void sendHead(const Response& response, std::uint64_t size, bool keepAlive);
    /// Sends what has to be made while it is sent (ConnectionPieces.cpp).
    void sendPieces(Response response, bool keepAlive, bool headOnly);
    struct Pieces;
    void writePiece(const std::shared_ptr<Pieces>& pieces);
    /// All but what tells the length.
    void fillHead(boost::beast::http::response_header<>& head, const Response& response) const;
    template <class Outgoing>
    void write(std::shared_ptr<Outgoing> out, bool keepAlive);
    void written(bool keepAlive);
    /// Ends the sending side and reads what the client still sends, within bounds, before the socket is closed.
    void linger();
    void drain();

    Door& m_door;
    Stream m_stream;
    boost::beast::flat_buffer m_buffer;
    std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> m_parser;
    std::shared_ptr<Connection> m_whileAnswering; ///< itself
    State m_state = State::ReadingHead;
    std::size_t m_drained = 0;
    std::array<char, 4096> m_scratch;
};
}
