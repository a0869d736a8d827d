#pragma once

#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/JSONServerServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QString>

#include <memory>

namespace Host
{
/// The services of a table that is recorded or replayed. While it is recorded they pass everything on, and its outcome goes into
/// the recording; in a replay they have nobody to pass it on to and give the recorded outcome in the recorded frame: no server is
/// asked and no e-mail is sent. An outcome that was not recorded any more leaves its future open. Main thread only; futures are
/// completed there, when a frame begins.
class RecordedMediaServer final : public Tavola::ServiceInstance, public Tavola::JSONServerServiceAPI
{
public:
    /// Null in a replay.
    explicit RecordedMediaServer(std::shared_ptr<Tavola::JSONServerServiceAPI> server);
    folly::Future<QJsonObject> request(const QJsonObject& command) override;

private:
    std::shared_ptr<Tavola::JSONServerServiceAPI> m_server;
};

class RecordedEmail final : public Tavola::ServiceInstance, public Tavola::EmailServiceAPI
{
public:
    /// `service` is null in a replay; new messages then begin with `textTemplate`.
    RecordedEmail(std::shared_ptr<Tavola::EmailServiceAPI> service, const QString& textTemplate);
    folly::Future<EmailStatus> send(const Tavola::EmailMessage& message) override;
    Tavola::EmailMessage createMessage() override;

private:
    std::shared_ptr<Tavola::EmailServiceAPI> m_service;
    QString m_textTemplate;
};
}
