#pragma once

#include "MailComposer.hpp"
#include "MailSettings.hpp"
#include "OutboxMessage.hpp"

#include <QString>

#include <optional>

namespace Host
{
class Outbox;

/// Makes an outbox message of a letter: fills in what the settings give, decides which attachments are sent, names the others in
/// the body, and composes the finished file. Any thread but the main one.
class MessageIntake
{
public:
    MessageIntake(const MailSettings& settings, const Outbox& outbox) : m_settings(settings), m_outbox(outbox) {}

    /// A copy of what a message says, with shared attachments; blanks around addresses, as visitors type them, are removed.
    [[nodiscard]] static MailComposer::Letter letter(const Tavola::EmailMessage& message);

    /// The message that is to be added. Nothing, with the reason in `error`, when the letter can never be sent (no recipient, an
    /// invalid address) or not be kept (the disk is full); no file is left then. An attachment that cannot be read is left out,
    /// with a warning. Blocks while attachments are read and the file is written.
    [[nodiscard]] std::optional<OutboxMessage> accept(MailComposer::Letter letter, qint64 nowMs, QString& error) const;

private:
    /// The letter with those attachments that fit, and with a body that names the others and those that are `missing`.
    [[nodiscard]] MailComposer::Letter complete(const MailComposer::Letter& letter, const QString& missing) const;
    [[nodiscard]] QString link(const Tavola::EmailMessage::Attachment& attachment) const;

    const MailSettings& m_settings;
    const Outbox& m_outbox;
};
}
