#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace Host
{
/// A mail server's replies to the commands of a transfer, gathered while it runs. Credentials are not stored. Replies after QUIT
/// are ignored. One thread at a time.
class SmtpTranscript
{
public:
    struct Reply
    {
        int code = 0;  ///< 0: none came
        QString words; ///< "550 5.1.1 No such user", all lines of it on one
        [[nodiscard]] bool isPassing() const noexcept { return code >= 400 && code < 500; }
        [[nodiscard]] bool isFinal() const noexcept { return code >= 500 && code < 600; }
    };

    void commandSent(const QByteArray& line);
    void dataSent();
    void lineReceived(const QByteArray& line);

    /// The reply to what was sent last; in the beginning the greeting.
    [[nodiscard]] const Reply& last() const noexcept { return m_last; }
    /// Whether that was a RCPT, whose reply concerns one recipient only.
    [[nodiscard]] bool lastIsOfRecipient() const noexcept { return m_isRecipient; }
    [[nodiscard]] bool hasQuit() const noexcept { return m_hasQuit; }
    /// The replies to each RCPT, in the order of the recipients that were sent.
    [[nodiscard]] const std::vector<Reply>& recipients() const noexcept { return m_recipients; }

private:
    Reply m_last;
    Reply m_coming;
    std::vector<Reply> m_recipients;
    bool m_isRecipient = false;
    bool m_hasQuit = false;
};
}
