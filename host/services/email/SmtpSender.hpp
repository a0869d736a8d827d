#pragma once

#include "MailSettings.hpp"
#include "OutboxMessage.hpp"

#include <QString>

#include <atomic>

namespace Host
{
class SmtpTranscript;

/// Hands messages to a mail server. `send` blocks, on a thread of the caller's that is not the main one; several threads may
/// send at once.
class SmtpSender
{
public:
    enum class Outcome {
        Delivered, ///< everybody has got it
        Later,     ///< a passing failure: worth another attempt for those whose outcome is open
        Refused,   ///< for good, by the server or for one recipient at least; the others have got it
        Stopped
    };
    struct Result
    {
        Outcome outcome = Outcome::Later;
        QString words; ///< why not: the server's words, or ours where it had none
    };

    SmtpSender(const MailSettings& settings, const MailCredentials& credentials);

    /// Sends to those recipients whose outcome is open, and writes theirs. Ends early, within about a second, once `stop`.
    [[nodiscard]] Result send(OutboxMessage& message, const std::atomic<bool>& stop) const;

private:
    void setUp(void* transfer) const;
    [[nodiscard]] Result judge(int code, const char* detail, const SmtpTranscript& transcript, OutboxMessage& message) const;
    [[nodiscard]] QString explain(int code, const char* detail) const;

    MailSettings m_settings;
    MailCredentials m_credentials;
};
}
