#pragma once

#include "MailSettings.hpp"
#include "OutboxMessage.hpp"

#include <QString>

#include <functional>

namespace Host
{
class SmtpTranscript;

/// Hands finished messages to a mail server. `send` blocks, on any thread but the main one; several threads may send at once.
class SmtpSender
{
public:
    enum class Outcome {
        Delivered, ///< to all recipients
        Later,     ///< a passing failure: another attempt may reach the recipients whose outcome is open
        Refused,   ///< for good, by the server or for one recipient at least; the others have the message
        Stopped
    };
    struct Result
    {
        Outcome outcome = Outcome::Later;
        QString words; ///< why not: the server's words, or ours where it had none
    };

    /// Asked from the sending thread about every second, more often while data flows, until it says false.
    using GoOn = std::function<bool()>;

    SmtpSender(const MailSettings& settings, const MailCredentials& credentials);

    /// Sends the finished file `path` to the recipients whose outcome is open, and sets their outcomes. A file that is gone or
    /// of another size than `message` says is not sent.
    [[nodiscard]] Result send(OutboxMessage& message, const QString& path, const GoOn& goOn) const;

private:
    void setUp(void* transfer) const;
    [[nodiscard]] Result judge(int code, const char* detail, const SmtpTranscript& transcript, OutboxMessage& message) const;
    [[nodiscard]] QString explain(int code, const char* detail) const;

    MailSettings m_settings;
    MailCredentials m_credentials;
};
}
