#include "MessageIntake.hpp"

#include "../MailAddress.hpp"
#include "MailText.hpp"
#include "Outbox.hpp"

#include <Bedrock/Trace.hpp>

#include <QDir>
#include <QFileDevice>
#include <QUrl>
#include <QUuid>

#include <algorithm>

namespace Host
{
using MailComposer::Letter;

namespace
{
QString linkTo(const Tavola::EmailMessage::Attachment& attachment, const MailSettings& settings)
{
    if (settings.filesAddress.isEmpty())
        return attachment.fileName;
    const auto* file = qobject_cast<const QFileDevice*>(attachment.device.get());
    const QString relative = file ? QDir(settings.folder).relativeFilePath(file->fileName()) : QString();
    const bool isWithin = file && !QDir::isAbsolutePath(relative) && !relative.startsWith(QLatin1String("../"));
    return settings.filesAddress
        + QString::fromLatin1(QUrl::toPercentEncoding(isWithin ? relative : attachment.fileName, QByteArrayLiteral("/")));
}

/// The letter with those attachments that fit, and with a body that names the others and those that are `missing`.
Letter completeLetter(const Letter& letter, const QString& missing, const MailSettings& settings)
{
    Letter result = letter;
    result.attachments.clear();
    QString large;
    qint64 total = 0;
    for (auto attachment : letter.attachments) {
        const qint64 size = attachment.device->size();
        if (total + size > settings.attachmentLimitBytes) {
            large +=
                QStringLiteral("%1 (%2 MB)\n").arg(linkTo(attachment, settings), QString::number(double(size) / 1e6, 'f', 1));
            continue;
        }
        total += size;
        if (attachment.fileName.isEmpty())
            attachment.fileName = QStringLiteral("file");
        result.attachments.push_back(std::move(attachment));
    }
    QString addendum;
    for (const auto& [heading, names] : {std::pair(settings.largeFilesText, large), {settings.missingFilesText, missing}})
        if (!names.isEmpty())
            addendum += QStringLiteral("\n%1\n%2").arg(heading.in(letter.languages), names);
    result.text += addendum;
    if (!settings.htmlTemplate.isEmpty())
        result.html = LetterTemplate::compose({LetterTemplate::inLanguage(settings.htmlTemplate, letter.languages),
                                               LetterTemplate::inLanguage(settings.textTemplate, letter.languages), letter.text,
                                               letter.recipients.front().address.name, addendum});
    return result;
}
}

Letter MessageIntake::letter(const Tavola::EmailMessage& message)
{
    Letter letter{
        {}, 0, message.sender(), message.subject(), message.recipients(), message.content, QString(), message.attachments()};
    letter.collected = message.collected();
    for (auto& recipient : letter.recipients)
        recipient.address.address = recipient.address.address.trimmed();
    for (auto& attachment : letter.attachments)
        attachment.fileName = MailText::oneLine(attachment.fileName);
    return letter;
}

tl::expected<OutboxMessage, QString> MessageIntake::accept(Letter letter, const MailSettings& settings, const Outbox& outbox,
                                                           qint64 nowMs)
{
    if (letter.sender.address.isEmpty())
        letter.sender = settings.sender;
    if (letter.subject.isEmpty())
        letter.subject = settings.subject.in(letter.languages);
    letter.text = LetterTemplate::inLanguage(letter.text, letter.languages);
    letter.createdMs = nowMs;
    const QByteArray host = MailText::plainAddress(letter.sender.address).split('@').last();
    letter.messageId = QStringLiteral("<%1@%2>").arg(QUuid::createUuid().toString(QUuid::WithoutBraces), host);

    OutboxMessage message;
    message.messageId = letter.messageId;
    message.createdMs = message.queuedSinceMs = nowMs;
    message.sender = letter.sender.address;
    message.file = Outbox::newFile();
    message.collected = letter.collected;
    QStringList addresses{message.sender};
    for (const auto& recipient : letter.recipients) {
        message.recipients.push_back({recipient.address.address, OutboxMessage::Outcome::Open, QString()});
        addresses << recipient.address.address;
    }
    const auto wrong = std::find_if_not(addresses.begin(), addresses.end(), isMailAddress);
    if (letter.recipients.empty())
        return tl::make_unexpected(QStringLiteral("the message has no recipient"));
    if (wrong != addresses.end())
        return tl::make_unexpected(QStringLiteral("\"%1\" is no e-mail address").arg(MailText::oneLine(*wrong)));

    // The body names what cannot be read, so a fault found while composing begins it anew.
    for (QString missing;;) {
        const Letter completed = completeLetter(letter, missing, settings);
        const auto sizeBytes = MailComposer::compose(completed, outbox.path(message.file));
        if (sizeBytes) {
            if (const auto left = letter.attachments.size() - completed.attachments.size(); left > 0)
                Bedrock::Trace::info("MessageIntake # %zu files beyond the limit of %g MB a message are sent as links", left,
                                     double(settings.attachmentLimitBytes) / 1e6);
            message.sizeBytes = *sizeBytes;
            return message;
        }
        const auto& [words, attachment] = sizeBytes.error();
        if (!attachment)
            return tl::make_unexpected(QStringLiteral("the message cannot be kept (%1)").arg(words));
        const auto& device = completed.attachments[*attachment].device;
        const auto unreadable = std::find_if(letter.attachments.begin(), letter.attachments.end(),
                                             [&device](const auto& one) { return one.device == device; });
        Bedrock::Trace::warning("MessageIntake # Failed to read the attachment %s (%s); the message goes without it",
                                qUtf8Printable(unreadable->fileName), qUtf8Printable(words));
        missing += unreadable->fileName + QLatin1Char('\n');
        letter.attachments.erase(unreadable);
    }
}
}
