#pragma once

#include "MailComposer.hpp"
#include "MailSettings.hpp"
#include "OutboxMessage.hpp"

#include <QString>

#include <tl/expected.hpp>

namespace Host
{
class Outbox;

/// Makes outbox messages of letters: fills in what the settings give, decides which attachments are sent, names the others in the
/// body, and composes the finished file.
namespace MessageIntake
{
/// A copy of what a message says, with shared attachments; blanks around addresses, as visitors type them, are removed.
[[nodiscard]] MailComposer::Letter letter(const Tavola::EmailMessage& message);

/// The message that is to be added to `outbox`. The reason when the letter can never be sent (no recipient, an invalid address)
/// or not be kept (the disk is full); no file is left then. An attachment that cannot be read is left out, with a warning. Blocks
/// while attachments are read and the file is written. Any thread but the main one.
[[nodiscard]] tl::expected<OutboxMessage, QString> accept(MailComposer::Letter letter, const MailSettings& settings,
                                                          const Outbox& outbox, qint64 nowMs);
}
}
