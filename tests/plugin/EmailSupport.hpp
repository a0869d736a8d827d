#pragma once

#include "FakeEmailService.hpp"
#include "PluginSupport.hpp"
#include "TestHost.hpp"

#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QJsonDocument>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// Services and analytics lines for the tests of e-mailing.
namespace PluginTest
{
/// An e-mail service that runs a function of the test in each call.
class HookedEmailService final : public Tavola::ServiceInstance, public Tavola::EmailServiceAPI
{
public:
    std::function<Tavola::EmailMessage()> onCreate = [] { return Tavola::EmailMessage(); };
    std::function<folly::Future<EmailStatus>(const Tavola::EmailMessage&)> onSend = [](const Tavola::EmailMessage&) {
        return folly::makeFuture(EmailStatus{true, {}});
    };
    folly::Future<EmailStatus> send(const Tavola::EmailMessage& message) override { return onSend(message); }
    Tavola::EmailMessage createMessage() override { return onCreate(); }
};

/// Configures a service as the only e-mail service of a table.
template <class Service>
std::shared_ptr<Service> addEmailService(TestSupport::TestHost& host)
{
    const auto service = std::make_shared<Service>();
    host.tavola().services()->addService(QStringLiteral("email-service"), QStringLiteral("post"), service);
    return service;
}

/// Answers, at a test's end, the open requests of its e-mail service: a broken promise would be a failure in the log.
class AnswerAtEnd
{
public:
    explicit AnswerAtEnd(std::shared_ptr<TestSupport::FakeEmailService> service) : m_service(std::move(service)) {}
    AnswerAtEnd(const AnswerAtEnd&) = delete;
    AnswerAtEnd& operator=(const AnswerAtEnd&) = delete;
    ~AnswerAtEnd()
    {
        for (const auto index : m_service->waiting())
            m_service->answer(index, {true, {}});
    }

private:
    std::shared_ptr<TestSupport::FakeEmailService> m_service;
};

/// A future that fails with an object that is no std::exception.
inline folly::Future<Tavola::EmailServiceAPI::EmailStatus> failWithNumber()
{
    return folly::makeFuture<Tavola::EmailServiceAPI::EmailStatus>(folly::exception_wrapper(std::make_exception_ptr(42)));
}

/// A way in which an e-mail service does not send.
struct FailingSend
{
    const char* what;
    folly::Future<Tavola::EmailServiceAPI::EmailStatus> (*send)(const Tavola::EmailMessage&);
    const char* text; ///< what is logged and counted
};
inline std::vector<FailingSend> failingSends()
{
    using Status = Tavola::EmailServiceAPI::EmailStatus;
    return {
        {"refused",
         [](const Tavola::EmailMessage&) {
             return folly::makeFuture(Status{false, "mailbox full: 100%s"});
         },
         "mailbox full: 100%s"},
        {"an exception",
         [](const Tavola::EmailMessage&) { return folly::makeFuture<Status>(std::runtime_error("getrennt: für immer")); },
         "getrennt: für immer"},
        {"an exception object without a text", [](const Tavola::EmailMessage&) { return failWithNumber(); }, ""},
        {"a broken promise", [](const Tavola::EmailMessage&) { return folly::Promise<Status>().getFuture(); },
         "Broken promise for type name `Tavola::EmailServiceAPI::EmailStatus`"},
        {"an exception out of the call",
         [](const Tavola::EmailMessage&) -> folly::Future<Status> { throw std::runtime_error("disk full"); }, "disk full"},
    };
}

/// An analytics event in one line.
inline std::string text(const Tavola::DataGathering::Event& event)
{
    return event.type.toStdString() + " " + QJsonDocument(event.data).toJson(QJsonDocument::Compact).toStdString();
}
/// All analytics events that were logged, in order, one in a line.
inline Strings analyticsOf(const TestSupport::TestHost& host)
{
    Strings lines;
    for (const auto& event : host.analytics())
        lines.push_back(text(event));
    return lines;
}
inline std::string widgetInEmail(long widgetId, const QString& name, const QString& address)
{
    return text(Tavola::DataGathering::widgetInEmailEvent(widgetId, name, address));
}
inline std::string emailSent(const QString& name, const QString& address)
{
    return text(Tavola::DataGathering::emailEvent(name, address, true, QString()));
}
inline std::string emailNotSent(const QString& name, const QString& address, const QString& error)
{
    return text(Tavola::DataGathering::emailEvent(name, address, false, error));
}
}
