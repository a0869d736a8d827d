#pragma once

#include "MailSettings.hpp"
#include "OutboxMessage.hpp"

#include <QString>

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

namespace Host
{
/// Sends finished messages to a mail server, several at once on one thread: the one that calls its functions, except `wake`.
class SmtpSender
{
public:
    struct Ended
    {
        OutboxMessage message; ///< with the outcomes of its recipients
        /// Delivered: to all recipients. Refused: for good, by the server or for one recipient at least; the others have the
        /// message. Open: a passing failure; another attempt may reach the recipients whose outcome is open.
        OutboxMessage::Outcome outcome = OutboxMessage::Outcome::Open;
        QString words; ///< why not: the server's words, or ours where it had none
    };

    SmtpSender(const MailSettings& settings, const MailCredentials& credentials);
    /// Breaks off what is being sent. Blocks for about a second at most.
    ~SmtpSender();
    SmtpSender(const SmtpSender&) = delete;
    SmtpSender& operator=(const SmtpSender&) = delete;

    /// Begins to send the finished file `path` to the recipients whose outcome is open; `proceed` goes on with it. A file that
    /// is gone or of another size than `message` says is not sent.
    void begin(OutboxMessage message, const QString& path);
    /// The number of messages that were begun and have not ended.
    [[nodiscard]] std::size_t count() const { return m_attempts.size() + m_ended.size(); }
    /// Goes on with every message, and returns those that have ended. Waits for the network so long at most; a server that does
    /// not answer a farewell takes a second more.
    [[nodiscard]] std::vector<Ended> proceed(std::chrono::milliseconds longestWait);
    /// Ends the wait of `proceed`, or its next one. Any thread.
    void wake();
    /// Has `proceed` break off what is being sent. A message that is broken off is not returned, nor does half of it arrive.
    void stop();

private:
    struct Attempt;
    void setUp(Attempt& attempt) const;

    const MailSettings m_settings;
    const MailCredentials m_credentials;
    const std::shared_ptr<void> m_multi; ///< libcurl's set of attempts
    std::vector<std::unique_ptr<Attempt>> m_attempts;
    std::vector<Ended> m_ended;
};
}
