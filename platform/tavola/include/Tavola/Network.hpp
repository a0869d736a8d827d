#pragma once

#include <Bedrock/Export.hpp>

class QNetworkAccessManager;
class QObject;

namespace Tavola
{
/// A network manager, owned by `parent`. Use it like any other; its replies are finished on the main thread in the input step of
/// a frame, with the whole answer at once, like all results from outside. They are children of the manager, and belong to the
/// caller as usual. Aborting a reply finishes it inside the call. Main thread only.
[[nodiscard]] TAVOLA_EXPORT QNetworkAccessManager* makeNetworkManager(QObject* parent);
}
