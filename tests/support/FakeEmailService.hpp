#pragma once

#include "HeldAnswers.hpp"

#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QByteArray>
#include <QString>

#include <mutex>
#include <vector>

namespace TestSupport
{
/// An e-mail service that sends nothing: it records the messages and answers as a test says.
///
///     const auto mail = std::make_shared<FakeEmailService>();
///     host.tavola().services()->addService("email-service", "", mail);
///     mail->setTemplate("Dear <name>,\n<links>");
///     mail->holdAnswers(true);
///     ...
///     mail->answerFromThread(0, {true, {}});
class FakeEmailService final : public Tavola::ServiceInstance,
                               public Tavola::EmailServiceAPI,
                               public HeldAnswers<Tavola::EmailServiceAPI::EmailStatus>
{
public:
    struct Attachment
    {
        QString fileName;
        QString mimeType;
        QByteArray bytes;
    };
    /// A message as it was sent; the attachments were read to their ends.
    struct Sent
    {
        std::vector<Tavola::EmailMessage::Recipient> recipients;
        QString subject;
        Tavola::EmailAddress sender;
        QString content;
        std::vector<Attachment> attachments;
        Tavola::EmailMessage::Collected collected;
    };

    /// The content of new messages; empty at first.
    void setTemplate(const QString& text);
    /// The answer that messages get at once unless answers are held; success at first.
    void setAnswer(const EmailStatus& status);
    /// While held, a message stays open until `answer` or `fail` (see HeldAnswers).
    void holdAnswers(bool hold);

    /// All messages, in order, answered or not. The index of a message is its place here.
    [[nodiscard]] std::vector<Sent> sent() const;
    /// The number of messages that were created.
    [[nodiscard]] int created() const;

    folly::Future<EmailStatus> send(const Tavola::EmailMessage& message) override;
    Tavola::EmailMessage createMessage() override;

private:
    mutable std::mutex m_mutex;
    QString m_template;
    EmailStatus m_answer{true, {}};
    bool m_hold = false;
    int m_created = 0;
    std::vector<Sent> m_sent;
};
}
