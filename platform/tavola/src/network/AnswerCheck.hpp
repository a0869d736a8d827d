#pragma once

#include "network/NetworkAnswer.hpp"

#include <Tavola/HttpClient.hpp>
#include <Tavola/Network.hpp>

namespace Tavola
{
/// What a network manager makes of the answer to a request: an error, in Qt's own words where Qt has some, for one that did not
/// arrive whole, is beyond the limits or has an error status. What this side refused is logged as a warning; of pictures also
/// an answer that is none, which stays as it is.
[[nodiscard]] NetworkAnswer checkedAnswer(const QUrl& url, const HttpAnswer& answer, const NetworkLimits& limits,
                                          NetworkContent content);

/// The answer to a request that failed on this side, logged as a warning.
[[nodiscard]] NetworkAnswer refusedAnswer(const QUrl& url, QNetworkReply::NetworkError error, const QString& why);
}
