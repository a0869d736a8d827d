#pragma once

#include "MailComposer.hpp"
#include "MailSettings.hpp"
#include "OutboxMessage.hpp"

#include <Tavola/EmailMessage.hpp>

#include <QString>
#include <QStringList>

#include <cstddef>
#include <vector>

namespace Host
{
class OutboxFiles;

/// What the service copies from a message: texts by value, devices shared.
struct MailJob
{
    QString subject;
    Tavola::EmailAddress sender;
    QString content;
    std::vector<Tavola::EmailMessage::Recipient> recipients;
    std::vector<Tavola::EmailMessage::Attachment> attachments;

    /// Removes the blanks around a recipient's address, as visitors type them.
    explicit MailJob(const Tavola::EmailMessage& message);
};

/// Makes an outbox message of a job: fills in what the settings give, decides which attachments are sent, names the others in
/// the body, and composes the finished file. Blocks; any thread but the main one.
class MessageIntake
{
public:
    MessageIntake(const MailSettings& settings, const OutboxFiles& files) : m_settings(settings), m_files(files) {}

    /// False, with the reason in `error`, when the message can never be sent (no recipient, an invalid address) or not be kept
    /// (the disk is full); no file is left then. An attachment that cannot be read is left out, with a warning.
    [[nodiscard]] bool accept(const MailJob& job, OutboxMessage& message, QString& error) const;

private:
    /// What to compose, and what to log once it is composed.
    struct Plan
    {
        MailComposer::Letter letter;
        std::vector<std::size_t> attached; ///< the indices of the job's attachments that are in `letter`
        QStringList notes;
    };
    [[nodiscard]] static bool check(const MailJob& job, QString& error);
    /// `faults`: for each attachment why it cannot be read, empty while it can.
    [[nodiscard]] Plan plan(const MailJob& job, const std::vector<QString>& faults) const;
    [[nodiscard]] QString link(const Tavola::EmailMessage::Attachment& attachment) const;

    const MailSettings& m_settings;
    const OutboxFiles& m_files;
};
}
