#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

namespace Tavola
{
using HttpHeaders = QList<QPair<QByteArray, QByteArray>>;

/// A request, and what its answer may cost. A plain record.
struct HttpRequest
{
    QByteArray method = "GET";
    QUrl url; ///< http or https; a user name and a password in it are sent as Basic credentials
    HttpHeaders headers;
    QByteArray body; ///< sent unless the method is GET or HEAD
    qint64 largestBodyBytes = 1000000;
    double timeoutSeconds = 10.0; ///< for the whole exchange, however slowly its bytes arrive
};

/// How an exchange ended. A plain record.
struct TAVOLA_EXPORT HttpAnswer
{
    enum class End {
        Whole,
        Unreachable,
        NotTrusted, ///< TLS failed, or its certificate is not trusted
        Cut,        ///< the connection closed before the end of the answer
        NoHttp,     ///< something else than HTTP came
        Late,
        HeadTooLong,
        BodyTooLong,
    };

    End end = End::Whole;
    QString detail; ///< the reason in words; for Unreachable and NotTrusted alone
    int status = 0; ///< this and the rest: of a whole answer alone
    QByteArray reason;
    HttpHeaders headers;
    QByteArray body; ///< as it was sent, not decompressed

    /// The first header of that name in any case; null when there is none.
    [[nodiscard]] QByteArray header(const char* name) const;
};

/// HTTP/1.1 for requests to servers that are not trusted: everything an answer has is bounded while it arrives, its head included
/// (64 KiB, with those of interim answers and trailers). Each request has a connection of its own and is sent once, whatever
/// becomes of it. Redirections are not followed, proxies of the environment not used, cookies not kept.
///
/// The exchanges run on a thread of the client, which the first one starts. One thread uses the client; it needs an event loop.
class TAVOLA_EXPORT HttpClient
{
public:
    using Done = std::function<void(const HttpAnswer&)>;
    /// An exchange under way. Ends with the last copy, without `done` being called.
    using Exchange = std::shared_ptr<void>;
    static constexpr qint64 kLargestHeadBytes = 64 * 1024;

    HttpClient();
    /// Ends all exchanges. Waits for no server.
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    /// `done` is called once, by the event loop and never inside this call, unless exchange or client end before.
    [[nodiscard]] Exchange send(HttpRequest request, Done done);

private:
    struct Private;
    std::shared_ptr<Private> d;
};
}
