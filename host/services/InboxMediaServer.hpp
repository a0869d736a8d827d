#pragma once

#include <Tavola/JSONServerServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <memory>

namespace Host
{
class ServiceStates;

/// A media server whose answers come through the inbox: futures are completed on the main thread, in the input step of a frame.
/// A failure keeps its text and becomes a std::runtime_error. Main thread only.
class InboxMediaServer final : public Tavola::ServiceInstance, public Tavola::JSONServerServiceAPI
{
public:
    /// Null where the inbox has a source, which answers in its place.
    /// `states`, if any, shows whether the last answer failed.
    explicit InboxMediaServer(std::shared_ptr<Tavola::JSONServerServiceAPI> server,
                              std::shared_ptr<ServiceStates> states = nullptr);
    folly::Future<QJsonObject> request(const QJsonObject& command) override;

private:
    std::shared_ptr<Tavola::JSONServerServiceAPI> m_server;
    std::shared_ptr<ServiceStates> m_states;
};
}
