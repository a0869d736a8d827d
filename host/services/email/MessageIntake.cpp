#include "MessageIntake.hpp"

#include "../MailAddress.hpp"
#include "HtmlBody.hpp"
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

Letter MessageIntake::letter(const Tavola::EmailMessage& message)
{
    Letter letter{
        {}, 0, message.sender(), message.subject(), message.recipients(), message.content, QString(), message.attachments()};
    for (auto& recipient : letter.recipients)
        recipient.address.address = recipient.address.address.trimmed();
    for (auto& attachment : letter.attachments)
        attachment.fileName = MailText::oneLine(attachment.fileName);
    return letter;
}

std::optional<OutboxMessage> MessageIntake::accept(Letter letter, qint64 nowMs, QString& error) const
{
    if (letter.sender.address.isEmpty())
        letter.sender = m_settings.sender;
    if (letter.subject.isEmpty())
        letter.subject = m_settings.subject.in(letter.languages);
    letter.text = LetterSections::keep(letter.text, letter.languages);
    QStringList addresses{letter.sender.address};
    OutboxMessage message;
    for (const auto& recipient : letter.recipients) {
        message.recipients.push_back({recipient.address.address, OutboxMessage::Outcome::Open, QString()});
        addresses << recipient.address.address;
    }
    const auto wrong = std::find_if_not(addresses.begin(), addresses.end(), isMailAddress);
    if (letter.recipients.empty())
        error = QStringLiteral("the message has no recipient");
    else if (wrong != addresses.end())
        error = QStringLiteral("\"%1\" is no e-mail address").arg(MailText::oneLine(*wrong));
    if (!error.isEmpty())
        return std::nullopt;

    const QByteArray host = MailText::plainAddress(letter.sender.address).split('@').last();
    letter.messageId = QStringLiteral("<%1@%2>").arg(QUuid::createUuid().toString(QUuid::WithoutBraces), host);
    letter.createdMs = nowMs;
    message.messageId = letter.messageId;
    message.createdMs = message.queuedSinceMs = nowMs;
    message.sender = letter.sender.address;
    message.file = Outbox::newFile();
    // The body names what cannot be read, so a fault found while composing begins it anew.
    for (QString missing;;) {
        const Letter completed = complete(letter, missing);
        const auto result = MailComposer::compose(completed, m_outbox.path(message.file));
        message.sizeBytes = result.sizeBytes;
        if (result.kind == MailComposer::Result::Kind::Done) {
            if (const auto left = letter.attachments.size() - completed.attachments.size(); left > 0)
                Bedrock::Trace::info("MessageIntake # %zu files beyond the limit of %g MB a message are sent as links", left,
                                     double(m_settings.attachmentLimitBytes) / 1e6);
            return message;
        }
        if (result.kind == MailComposer::Result::Kind::DiskFault) {
            error = QStringLiteral("the message cannot be kept (%1)").arg(result.words);
            return std::nullopt;
        }
        const auto& device = completed.attachments[result.attachment].device;
        const auto unreadable = std::find_if(letter.attachments.begin(), letter.attachments.end(),
                                             [&device](const auto& attachment) { return attachment.device == device; });
        Bedrock::Trace::warning("MessageIntake # Failed to read the attachment %s (%s); the message goes without it",
                                unreadable->fileName.toUtf8().constData(), result.words.toUtf8().constData());
        missing += unreadable->fileName + QLatin1Char('\n');
        letter.attachments.erase(unreadable);
    }
}

Letter MessageIntake::complete(const Letter& letter, const QString& missing) const
{
    Letter result = letter;
    result.attachments.clear();
    QString large;
    qint64 total = 0;
    for (auto attachment : letter.attachments) {
        const qint64 size = attachment.device->isSequential() ? 0 : attachment.device->size();
        if (total + size > m_settings.attachmentLimitBytes) {
            large += QStringLiteral("%1 (%2 MB)\n").arg(link(attachment), QString::number(double(size) / 1e6, 'f', 1));
            continue;
        }
        total += size;
        if (attachment.fileName.isEmpty())
            attachment.fileName = QStringLiteral("file");
        result.attachments.push_back(std::move(attachment));
    }
    QString addendum;
    for (const auto& [heading, names] : {std::pair(m_settings.largeFilesText, large), {m_settings.missingFilesText, missing}})
        if (!names.isEmpty())
            addendum += QStringLiteral("\n%1\n%2").arg(heading.in(letter.languages), names);
    result.text += addendum;
    if (!m_settings.htmlTemplate.isEmpty())
        result.html = HtmlBody::compose({LetterSections::keep(m_settings.htmlTemplate, letter.languages),
                                         LetterSections::keep(m_settings.textTemplate, letter.languages), letter.text,
                                         letter.recipients.front().address.name, addendum});
    return result;
}

QString MessageIntake::link(const Tavola::EmailMessage::Attachment& attachment) const
{
    if (m_settings.filesAddress.isEmpty())
        return attachment.fileName;
    const auto* file = qobject_cast<const QFileDevice*>(attachment.device.get());
    const QString relative = file ? QDir(m_settings.folder).relativeFilePath(file->fileName()) : QString();
    const bool isWithin = file && !QDir::isAbsolutePath(relative) && !relative.startsWith(QLatin1String("../"));
    return m_settings.filesAddress
        + QString::fromLatin1(QUrl::toPercentEncoding(isWithin ? relative : attachment.fileName, QByteArrayLiteral("/")));
}
}
