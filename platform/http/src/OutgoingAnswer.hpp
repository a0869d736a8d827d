#pragma once

#include <Http/Message.hpp>

#include <boost/asio/buffer.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace Http
{
/// An answer on its way: the bytes of its head and body in the order in which they leave, of which a bounded part is in memory
/// where the body is a file or made while it is sent.
///
///     begin -> write buffers(), wrote() -+-> hasBytes: write again
///                                        +-> next: Bytes (write again), End, or Failed (cut the connection)
///
/// One answer after the other; the memory of a short one is used for the next. One thread.
class OutgoingAnswer
{
public:
    struct Manner
    {
        unsigned version = 11; ///< 10 or 11, as the client speaks
        bool keepAlive = true; ///< whether the client and the server would keep the connection
        bool headOnly = false; ///< the answer to HEAD
    };

    /// Bytes are there afterwards. `date`: as the header of that name has it.
    void begin(Response response, const Manner& manner, const std::string& date);
    /// Releases what the answer holds: its file, what makes its body.
    void end();

    /// Whether the connection serves another request after this answer: not after a body whose end that of the connection is.
    [[nodiscard]] bool keepsConnection() const { return m_keepAlive; }
    /// Whether the body is made while it is sent (Response::pieces).
    [[nodiscard]] bool isMade() const { return static_cast<bool>(m_response.pieces); }

    [[nodiscard]] bool hasBytes() const { return m_written < m_text.size() || !m_body.empty(); }
    /// What is to be written; valid until the next call of another function.
    [[nodiscard]] std::array<boost::asio::const_buffer, 2> buffers() const;
    /// So many bytes of buffers() have left.
    void wrote(std::size_t bytes);

    enum class Next { Bytes, End, Failed };
    /// Call when all bytes have left. Failed: the rest of the body cannot be had, so that the connection has to be cut. Logged
    /// where a file or an exception is the cause.
    [[nodiscard]] Next next();

private:
    [[nodiscard]] Next readFile();
    [[nodiscard]] Next makePiece();

    Response m_response;
    std::string m_text;           ///< the head with a short body, or the size of a chunk
    std::size_t m_written = 0;    ///< of m_text
    std::string_view m_body;      ///< what is left of the body, or of its piece; leaves after m_text
    QByteArray m_piece;           ///< of a file, or what was made last
    std::uint64_t m_fileLeft = 0; ///< bytes of the file that were not read yet
    bool m_isChunked = false;
    bool m_hasChunk = false; ///< a chunk has left, whose end leaves with the next one
    bool m_keepAlive = false;
};
}
