#include "recording/RecordedServices.hpp"

#include <Bedrock/Arrivals.hpp>

#include <folly/futures/Future.h>

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <stdexcept>

namespace Host
{
namespace
{
using Bedrock::Arrivals;
using EmailStatus = Tavola::EmailServiceAPI::EmailStatus;

// What an outcome begins with.
constexpr char kValue = 'V';
constexpr char kRefusal = 'R';   ///< of an e-mail; then the words of the service
constexpr char kException = 'E'; ///< then its text

template <class T>
QByteArray exceptionBytes(const folly::Try<T>& outcome)
{
    const auto* exception = outcome.template tryGetExceptionObject<std::exception>();
    return kException + QByteArray(exception ? exception->what() : "unknown exception");
}

template <class T>
void fail(folly::Promise<T>& promise, const QByteArray& bytes)
{
    promise.setException(std::runtime_error(bytes.mid(1).toStdString()));
}
}

RecordedMediaServer::RecordedMediaServer(std::shared_ptr<Tavola::JSONServerServiceAPI> server) : m_server(std::move(server)) {}

folly::Future<QJsonObject> RecordedMediaServer::request(const QJsonObject& command)
{
    const auto promise = std::make_shared<folly::Promise<QJsonObject>>();
    const Arrivals::Ticket ticket = Arrivals::instance().ask('j', [promise](const QByteArray& bytes) {
        if (bytes.startsWith(kValue))
            promise->setValue(QJsonDocument::fromJson(bytes.mid(1)).object());
        else
            fail(*promise, bytes);
    });
    if (m_server)
        (void)folly::makeFutureWith([&] {
            return m_server->request(command);
        }).thenTry([ticket](folly::Try<QJsonObject>&& outcome) {
            Arrivals::instance().answer(ticket,
                                        outcome.hasException()
                                            ? exceptionBytes(outcome)
                                            : kValue + QJsonDocument(outcome.value()).toJson(QJsonDocument::Compact));
        });
    return promise->getFuture();
}

RecordedEmail::RecordedEmail(std::shared_ptr<Tavola::EmailServiceAPI> service, const QString& textTemplate)
    : m_service(std::move(service)), m_textTemplate(textTemplate)
{
}

folly::Future<EmailStatus> RecordedEmail::send(const Tavola::EmailMessage& message)
{
    const auto promise = std::make_shared<folly::Promise<EmailStatus>>();
    const Arrivals::Ticket ticket = Arrivals::instance().ask('m', [promise](const QByteArray& bytes) {
        if (bytes.startsWith(kValue))
            promise->setValue(EmailStatus{true, QString()});
        else if (bytes.startsWith(kRefusal))
            promise->setValue(EmailStatus{false, QString::fromUtf8(bytes.mid(1))});
        else
            fail(*promise, bytes);
    });
    if (m_service)
        (void)folly::makeFutureWith([&] {
            return m_service->send(message);
        }).thenTry([ticket](folly::Try<EmailStatus>&& outcome) {
            QByteArray bytes;
            if (outcome.hasException())
                bytes = exceptionBytes(outcome);
            else
                bytes = outcome.value().success ? QByteArray(1, kValue) : kRefusal + outcome.value().error.toUtf8();
            Arrivals::instance().answer(ticket, bytes);
        });
    return promise->getFuture();
}

Tavola::EmailMessage RecordedEmail::createMessage()
{
    if (m_service)
        return m_service->createMessage();
    Tavola::EmailMessage message;
    message.setContent(m_textTemplate);
    return message;
}
}
