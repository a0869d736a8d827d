#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace Http
{
/// An open file, read only; owns its descriptor. Move only.
class TAVOLA_EXPORT File
{
public:
    File() = default;
    explicit File(int descriptor) : m_descriptor(descriptor) {}
    File(File&& other) noexcept : m_descriptor(other.release()) {}
    File& operator=(File&& other) noexcept;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File();

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }
    /// In bytes; -1 when that cannot be said, as of a file that is not open.
    [[nodiscard]] qint64 size() const;
    /// Gives the descriptor away; the caller closes it.
    [[nodiscard]] int release();

private:
    int m_descriptor = -1;
};

/// A body that is made while it is sent, so that it need not be kept. Returns the next piece at each call, an empty one at the
/// end, and nothing on a failure: then the connection is cut, so that the client does not take the body for whole. A piece should
/// be small, because a client has the timeout of the door for each. Called on the server's thread; destroyed when the client
/// goes.
using BodyPieces = std::function<std::optional<QByteArray>()>;

using Headers = std::vector<std::pair<QByteArray, QByteArray>>;

/// A request, read whole and within the limits of the door it came through.
struct TAVOLA_EXPORT Request
{
    QByteArray method; ///< in capitals, as sent
    QByteArray target; ///< path and query as sent, not decoded
    QByteArray body;
    Headers headers = {}; ///< as sent, in order

    /// The first header of that name in any case, without blanks around it; null when there is none.
    [[nodiscard]] QByteArray header(const char* name) const;
    [[nodiscard]] bool hasHeader(const char* name) const { return !header(name).isNull(); }
};

/// The answer to a request. The server adds length, date and connection headers and leaves the body out for HEAD.
struct TAVOLA_EXPORT Response
{
    int status = 200;
    QByteArray contentType;
    QByteArray body;   ///< ignored when `file` is open
    File file;         ///< sent piece by piece
    BodyPieces pieces; ///< the body, of a length that is not known; only where neither `body` nor `file` is set
    Headers headers;
    bool closeConnection = false; ///< ends the connection after this answer, whatever the client asked for

    void addHeader(const QByteArray& name, const QByteArray& value) { headers.emplace_back(name, value); }
};

/// A short answer in plain text, for failures.
[[nodiscard]] TAVOLA_EXPORT Response plainResponse(int status, const QByteArray& text);

/// Whether a request reached a loopback door under this machine's own name and not through a browser that shows a page of
/// another machine: Host is 127.0.0.1, ::1 or localhost, Origin names no other host, and Sec-Fetch-Site (Fetch Metadata, W3C) is
/// not "cross-site". A door that listens on loopback alone is reachable for every web page otherwise (DNS rebinding).
[[nodiscard]] TAVOLA_EXPORT bool comesFromThisMachine(const Request& request);
}
