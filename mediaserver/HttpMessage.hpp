#pragma once

#include "ContentFolder.hpp"

#include <QByteArray>

#include <utility>
#include <vector>

namespace MediaServer
{

/// A request as the handler sees it: read whole, within the limits of the server.
struct HttpRequest
{
    QByteArray method; ///< in capitals, as sent
    QByteArray target; ///< path and query as sent, not decoded
    QByteArray body;
    bool hasOrigin = false; ///< it has an Origin header: a web page has made a browser send it
};

/// What the handler answers. The server adds length, date and connection headers and leaves the body out for HEAD.
struct HttpResponse
{
    int status = 200;
    QByteArray contentType;
    QByteArray body;  ///< ignored when `file` is open
    ContentFile file; ///< sent piece by piece
    std::vector<std::pair<QByteArray, QByteArray>> headers;

    void addHeader(const QByteArray& name, const QByteArray& value) { headers.emplace_back(name, value); }
};

/// A short answer in plain text, for failures below the level of pages.
[[nodiscard]] HttpResponse plainResponse(int status, const QByteArray& text);

} // namespace MediaServer
