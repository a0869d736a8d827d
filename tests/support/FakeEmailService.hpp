#pragma once

#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QByteArray>
#include <QString>

#include <mutex>
#include <optional>
#include <string>
#include <utility>
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
class FakeEmailService final : public Tavola::ServiceInstance, public Tavola::EmailServiceAPI
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
    };

    /// The content of new messages; empty at first.
    void setTemplate(const QString& text);
    /// What messages are answered with at once, unless answers are held; success at first.
    void setAnswer(const EmailStatus& status);
    /// While held, a message waits for `answer` or `fail`.
    void holdAnswers(bool hold);

    /// Everything that was sent, in order, answered or not. The index of a message names it below.
    [[nodiscard]] std::vector<Sent> sent() const;
    /// How many messages were created.
    [[nodiscard]] int created() const;

    /// The indices of those that wait for an answer.
    [[nodiscard]] std::vector<std::size_t> waiting() const;
    /// Answers a held message on the caller's thread, which may be any.
    void answer(std::size_t index, const EmailStatus& status);
    /// Fails its future with an exception of that text.
    void fail(std::size_t index, const std::string& text);
    /// As above, completed on a thread of its own, which has ended when the call returns.
    void answerFromThread(std::size_t index, const EmailStatus& status);
    void failFromThread(std::size_t index, const std::string& text);

    folly::Future<EmailStatus> send(const Tavola::EmailMessage& message) override;
    Tavola::EmailMessage createMessage() override;

private:
    [[nodiscard]] folly::Promise<EmailStatus> take(std::size_t index);

    mutable std::mutex m_mutex;
    QString m_template;
    EmailStatus m_answer{true, {}};
    bool m_hold = false;
    int m_created = 0;
    std::vector<Sent> m_sent;
    std::vector<std::pair<std::size_t, folly::Promise<EmailStatus>>> m_waiting;
};
}
