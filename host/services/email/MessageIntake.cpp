#include "MessageIntake.hpp"

#include "../MailAddress.hpp"
#include "HtmlBody.hpp"
#include "MailText.hpp"
#include "OutboxFiles.hpp"

#include <Bedrock/Trace.hpp>

#include <QDir>
#include <QFileDevice>
#include <QUrl>
#include <QUuid>

#include <algorithm>

namespace Host
{
namespace
{
using MailComposer::Letter;

QString megabytes(qint64 bytes)
{
    return QString::number(double(bytes) / 1e6, 'f', 1);
}

/// Why a letter can never be sent; empty when it can.
QString fault(const Letter& letter)
{
    if (letter.recipients.empty())
        return QStringLiteral("the message has no recipient");
    QStringList addresses{letter.sender.address};
    for (const auto& recipient : letter.recipients)
        addresses << recipient.address.address;
    const auto wrong = std::find_if_not(addresses.begin(), addresses.end(), isMailAddress);
    return wrong == addresses.end() ? QString() : QStringLiteral("\"%1\" is no e-mail address").arg(MailText::oneLine(*wrong));
}
}

Letter MessageIntake::letter(const Tavola::EmailMessage& message)
{
    Letter letter;
    letter.subject = message.subject();
    letter.sender = message.sender();
    letter.text = message.content;
    letter.recipients = message.recipients();
    letter.attachments = message.attachments();
    for (auto& recipient : letter.recipients)
        recipient.address.address = recipient.address.address.trimmed();
    for (auto& attachment : letter.attachments)
        attachment.fileName = MailText::oneLine(attachment.fileName);
    return letter;
}

bool MessageIntake::accept(Letter letter, OutboxMessage& message, QString& error) const
{
    if (letter.sender.address.isEmpty())
        letter.sender = m_settings.sender;
    if (letter.subject.isEmpty())
        letter.subject = m_settings.subject;
    error = fault(letter);
    if (!error.isEmpty())
        return false;
    const QString host = QString::fromLatin1(MailText::plainAddress(letter.sender.address)).section(QLatin1Char('@'), -1);
    letter.messageId = QStringLiteral("<%1@%2>").arg(QUuid::createUuid().toString(QUuid::WithoutBraces), host);
    letter.createdMs = message.createdMs;
    message.messageId = letter.messageId;
    message.sender = letter.sender.address;
    for (const auto& recipient : letter.recipients)
        message.recipients.push_back({recipient.address.address, OutboxMessage::Outcome::Open, QString()});
    message.file = OutboxFiles::newName();

    // The body names what cannot be read, so a fault found while composing begins it anew.
    for (QString missing;;) {
        QStringList notes;
        const Letter completed = complete(letter, missing, notes);
        const auto result = MailComposer::compose(completed, m_files.path(message.file));
        if (result.kind == MailComposer::Result::Kind::DiskFault) {
            error = QStringLiteral("the message cannot be kept (%1)").arg(result.words);
            return false;
        }
        if (result.kind == MailComposer::Result::Kind::Done) {
            message.sizeBytes = result.sizeBytes;
            for (const QString& note : notes)
                Bedrock::Trace::info("MessageIntake # %s", note.toUtf8().constData());
            return true;
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

Letter MessageIntake::complete(const Letter& letter, const QString& missing, QStringList& notes) const
{
    Letter result = letter;
    result.attachments.clear();
    QString large;
    qint64 total = 0;
    for (auto attachment : letter.attachments) {
        const qint64 size = attachment.device->isSequential() ? 0 : attachment.device->size();
        if (total + size > m_settings.attachmentLimitBytes) {
            large += QStringLiteral("%1 (%2 MB)\n").arg(link(attachment), megabytes(size));
            notes << QStringLiteral("%1 (%2 MB) is beyond the limit of %3 MB a message; it is sent as a link")
                         .arg(attachment.fileName, megabytes(size), megabytes(m_settings.attachmentLimitBytes));
            continue;
        }
        total += size;
        if (attachment.fileName.isEmpty())
            attachment.fileName = QStringLiteral("file");
        result.attachments.push_back(std::move(attachment));
    }
    QString addendum;
    if (!large.isEmpty())
        addendum += QLatin1Char('\n') + m_settings.largeFilesText + QLatin1Char('\n') + large;
    if (!missing.isEmpty())
        addendum += QLatin1Char('\n') + m_settings.missingFilesText + QLatin1Char('\n') + missing;
    result.text += addendum;
    if (!m_settings.htmlTemplate.isEmpty())
        result.html = HtmlBody::compose(
            {m_settings.htmlTemplate, m_settings.textTemplate, letter.text, letter.recipients.front().address.name, addendum});
    return result;
}

QString MessageIntake::link(const Tavola::EmailMessage::Attachment& attachment) const
{
    QString name = attachment.fileName;
    if (m_settings.filesAddress.isEmpty())
        return name;
    if (const auto* file = qobject_cast<const QFileDevice*>(attachment.device.get())) {
        const QString relative = QDir(m_settings.folder).relativeFilePath(file->fileName());
        if (!QDir::isAbsolutePath(relative) && !relative.startsWith(QLatin1String("../")))
            name = relative;
    }
    return m_settings.filesAddress + QString::fromLatin1(QUrl::toPercentEncoding(name, QByteArrayLiteral("/")));
}
}
