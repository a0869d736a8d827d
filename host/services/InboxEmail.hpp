#pragma once

#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QString>

#include <functional>
#include <memory>

namespace Host
{
class ServiceStates;

/// An e-mail service whose outcomes come through the inbox: futures are completed on the main thread, in the input step of a
/// frame. A failure keeps its text and becomes a std::runtime_error. Main thread only.
class InboxEmail final : public Tavola::ServiceInstance, public Tavola::EmailServiceAPI
{
public:
    explicit InboxEmail(std::shared_ptr<Tavola::EmailServiceAPI> service);
    /// Where the inbox has a source, which answers in place of a service: new messages begin with `textTemplate`.
    explicit InboxEmail(const QString& textTemplate);
    /// Has `states` show with each message that was accepted whether mail waits that no server has yet. `isDelayed` is called
    /// with the service's answer, on any thread; it may be empty where the inbox has a source.
    void showDelay(std::function<bool()> isDelayed, std::shared_ptr<ServiceStates> states);
    folly::Future<EmailStatus> send(const Tavola::EmailMessage& message) override;
    Tavola::EmailMessage createMessage() override;

private:
    std::shared_ptr<Tavola::EmailServiceAPI> m_service;
    QString m_textTemplate;
    std::function<bool()> m_isDelayed;
    std::shared_ptr<ServiceStates> m_states; ///< may be null
};
}
