#pragma once

#include <Bedrock/Export.hpp>

#include <QtGlobal>

class QNetworkAccessManager;
class QObject;

namespace Tavola
{
/// What an answer from the network may cost. An answer beyond a limit is a network error, and is logged once as a warning.
struct NetworkLimits
{
    qint64 largestAnswerBytes = 1000000;
    int largestPicturePx = 2048;  ///< of either side, as the picture's head announces it; nothing is decoded
    double timeoutSeconds = 10.0; ///< for the whole exchange, however slowly its bytes arrive
};

/// What a manager is used for.
enum class NetworkContent {
    Anything,
    Pictures, ///< an answer that is no picture, such as a redirection, is logged as a warning, and stays an answer
};

/// For requests that begin from now on. Main thread only.
TAVOLA_EXPORT void setNetworkLimits(const NetworkLimits& limits);
[[nodiscard]] TAVOLA_EXPORT const NetworkLimits& networkLimits();

/// A network manager, owned by `parent`. Use it like any other; its replies are finished on the main thread in the input step of
/// a frame, with the whole answer at once, like all results from outside. They are children of the manager, and belong to the
/// caller as usual. Aborting a reply finishes it inside the call. Addresses that are neither http nor https, such as those of
/// files, and answers beyond the limits end as network errors. Requests go out as HttpClient sends them: once, and redirections
/// are not followed. Answers are not decompressed. Main thread only.
[[nodiscard]] TAVOLA_EXPORT QNetworkAccessManager* makeNetworkManager(QObject* parent,
                                                                      NetworkContent content = NetworkContent::Anything);
}
