#pragma once

#include "ConnectionRoster.hpp"
#include "HttpServer.hpp"
#include "Log.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <array>
#include <memory>
#include <optional>

namespace MediaServer
{

/// One client of an HttpServer, on its thread. It lives as long as an operation on its socket is under way: each holds a
/// shared pointer.
///
///     reading head -> reading body -> writing -+-> reading head (kept connection)
///                 \______________\_____________+-> lingering -> gone
class HttpConnection final : public ConnectionRoster::Member, public std::enable_shared_from_this<HttpConnection>
{
public:
    /// What the connections of a server have in common. Outlives them.
    struct Server
    {
        explicit Server(const HttpLimits& limitsToKeep) : limits(limitsToKeep), roster(limitsToKeep.clients) {}
        virtual void connectionEnded(HttpConnection* connection) = 0;

        HttpLimits limits;
        HttpServer::Handler handler;
        ConnectionRoster roster;
        RareWarning downloadRefused;
        bool stopping = false;

    protected:
        ~Server() = default;
    };

    /// The address of the client as the roster wants it, of the two ends of its connection.
    [[nodiscard]] static std::string clientAddress(boost::asio::ip::address remote, boost::asio::ip::address local);

    HttpConnection(Server& server, boost::asio::ip::tcp::socket socket, std::string address);
    ~HttpConnection() override;

    void readNext();

    /// The server stops: who waits for a request that has not begun goes at once, everybody else after the answer.
    void finishUp();

    void giveUp() override;

private:
    enum class State { ReadingHead, ReadingBody, Writing, Lingering };

    void headRead(const boost::system::error_code& error);
    void readBody();
    void readFailed(const boost::system::error_code& error);
    void refuse(int status, const char* text);
    void answer();
    void send(HttpResponse response, bool keepAlive, bool headOnly);
    void sendFile(HttpResponse response, bool keepAlive, bool headOnly);
    void sendHead(const HttpResponse& response, std::uint64_t size, bool keepAlive);
    template <class Message>
    void fillHead(Message& message, const HttpResponse& response, std::uint64_t size, bool keepAlive);
    template <class Outgoing>
    void write(std::shared_ptr<Outgoing> out, bool keepAlive);
    void written(bool keepAlive);
    /// Says that nothing more comes and reads what the client still sends, within bounds, before the socket is closed.
    void linger();
    void drain();

    Server& m_server;
    boost::beast::tcp_stream m_stream;
    boost::beast::flat_buffer m_buffer;
    std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> m_parser;
    State m_state = State::ReadingHead;
    std::size_t m_drained = 0;
    std::array<char, 4096> m_scratch;
};

} // namespace MediaServer
