#pragma once

#include <Bedrock/Export.hpp>

#include <folly/futures/Future.h>

class QJsonObject;

namespace Tavola
{
/// A server that answers JSON commands.
class TAVOLA_EXPORT JSONServerServiceAPI
{
public:
    /// Sends a command; returns at once. The future may be completed on any thread; transport errors, timeouts and answers
    /// that are no JSON object are exceptions in it.
    [[nodiscard]] virtual folly::Future<QJsonObject> request(const QJsonObject& command) = 0;
    virtual ~JSONServerServiceAPI();
};
}
