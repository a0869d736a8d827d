#pragma once

#include "MailSettings.hpp"
#include "OutboxMessage.hpp"

#include <Tavola/EmailMessage.hpp>

#include <QString>

#include <vector>

namespace Host
{
class OutboxFiles;

/// What the service takes over from a message: its words by value, its devices shared.
struct MailJob
{
    QString subject;
    Tavola::EmailAddress sender;
    QString content;
    std::vector<Tavola::EmailMessage::Recipient> recipients;
    std::vector<Tavola::EmailMessage::Attachment> attachments;

    explicit MailJob(const Tavola::EmailMessage& message)
        : subject(message.subject()), sender(message.sender()), content(message.content), recipients(message.recipients()),
          attachments(message.attachments())
    {
        // As people type them: blanks around an address are no part of it.
        for (auto& recipient : recipients)
            recipient.address.address = recipient.address.address.trimmed();
    }
};

/// Makes an outbox message of what somebody sent: copies the attachments into the outbox, says in the body which are too large
/// or cannot be read, fills the HTML part. Blocks; any thread but the main one.
class MessageIntake
{
public:
    MessageIntake(const MailSettings& settings, const OutboxFiles& files) : m_settings(settings), m_files(files) {}

    /// False, with the reason in `error`, when the message can never be sent (no recipient, an address that is none) or not be
    /// kept (the disk is full); nothing is left behind then.
    [[nodiscard]] bool take(const MailJob& job, OutboxMessage& message, QString& error) const;

private:
    struct Notes
    {
        QString large; ///< lines
        QString missing;
    };
    [[nodiscard]] static bool check(const MailJob& job, QString& error);
    [[nodiscard]] bool takeFiles(const MailJob& job, OutboxMessage& message, Notes& notes, QString& error) const;
    [[nodiscard]] QString link(const Tavola::EmailMessage::Attachment& attachment) const;
    void write(const MailJob& job, const Notes& notes, OutboxMessage& message) const;

    const MailSettings& m_settings;
    const OutboxFiles& m_files;
};
}
