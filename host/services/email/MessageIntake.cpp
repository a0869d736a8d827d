#include "MessageIntake.hpp"

#include "HtmlBody.hpp"
#include "MailHeader.hpp"
#include "OutboxFiles.hpp"

#include <Bedrock/Trace.hpp>

#include <QDir>
#include <QFileDevice>
#include <QUrl>
#include <QUuid>

namespace Host
{
namespace
{
QString megabytes(qint64 bytes)
{
    return QString::number(double(bytes) / 1e6, 'f', 1);
}
}

bool MessageIntake::check(const MailJob& job, QString& error)
{
    if (job.recipients.empty()) {
        error = QStringLiteral("the message has no recipient");
        return false;
    }
    const auto isUsable = [&error](const QString& address) {
        if (MailHeader::isMailAddress(address))
            return true;
        error = QStringLiteral("\"%1\" is no e-mail address").arg(MailHeader::oneLine(address));
        return false;
    };
    for (const auto& recipient : job.recipients)
        if (!isUsable(recipient.address.address))
            return false;
    return job.sender.address.isEmpty() || isUsable(job.sender.address);
}

bool MessageIntake::take(const MailJob& job, OutboxMessage& message, QString& error) const
{
    if (!check(job, error))
        return false;
    Notes notes;
    if (!takeFiles(job, message, notes, error)) {
        m_files.remove(message.folder);
        return false;
    }
    write(job, notes, message);
    return true;
}

bool MessageIntake::takeFiles(const MailJob& job, OutboxMessage& message, Notes& notes, QString& error) const
{
    qint64 total = 0;
    for (const auto& attachment : job.attachments) {
        const QString name = MailHeader::oneLine(attachment.fileName);
        const qint64 announced = attachment.device->isSequential() ? 0 : attachment.device->size();
        if (total + announced > m_settings.attachmentLimitBytes) {
            const QString address = link(attachment);
            notes.large += QStringLiteral("%1 (%2 MB)\n").arg(address, megabytes(announced));
            Bedrock::Trace::info("MessageIntake # %s (%s MB) is beyond the limit of %s MB a message; it is sent as a link",
                                 name.toUtf8().constData(), megabytes(announced).toLatin1().constData(),
                                 megabytes(m_settings.attachmentLimitBytes).toLatin1().constData());
            continue;
        }
        if (message.folder.isEmpty()) {
            message.folder = m_files.makeFolder(error);
            if (message.folder.isEmpty())
                return false;
        }
        const int number = int(message.files.size());
        OutboxMessage::File file{name.isEmpty() ? QStringLiteral("file") : name, attachment.mimeType,
                                 m_files.path(message.folder, number), 0};
        QString reason;
        switch (m_files.copy(*attachment.device, message.folder, number, file.sizeBytes, reason)) {
        case OutboxFiles::Copy::Done:
            total += file.sizeBytes;
            message.files.push_back(file);
            break;
        case OutboxFiles::Copy::Unreadable:
            Bedrock::Trace::warning("MessageIntake # Failed to read the attachment %s (%s); the message goes without it",
                                    name.toUtf8().constData(), reason.toUtf8().constData());
            notes.missing += name + QLatin1Char('\n');
            break;
        case OutboxFiles::Copy::DiskFault: error = QStringLiteral("the message cannot be kept (%1)").arg(reason); return false;
        }
    }
    if (message.files.empty()) {
        m_files.remove(message.folder);
        message.folder.clear();
        return true;
    }
    QString reason;
    if (m_files.finish(message.folder, reason))
        return true;
    error = QStringLiteral("the message cannot be kept (%1)").arg(reason);
    return false;
}

QString MessageIntake::link(const Tavola::EmailMessage::Attachment& attachment) const
{
    QString name = MailHeader::oneLine(attachment.fileName);
    if (m_settings.filesAddress.isEmpty())
        return name;
    if (const auto* file = qobject_cast<const QFileDevice*>(attachment.device.get())) {
        const QString relative = QDir(m_settings.folder).relativeFilePath(file->fileName());
        if (!QDir::isAbsolutePath(relative) && !relative.startsWith(QLatin1String("../")))
            name = relative;
    }
    return m_settings.filesAddress + QString::fromLatin1(QUrl::toPercentEncoding(name, QByteArrayLiteral("/")));
}

void MessageIntake::write(const MailJob& job, const Notes& notes, OutboxMessage& message) const
{
    message.sender = job.sender.address.isEmpty() ? m_settings.sender : job.sender;
    message.subject = job.subject.isEmpty() ? m_settings.subject : job.subject;
    const QByteArray sender = MailHeader::plainAddress(message.sender.address);
    message.messageId = QStringLiteral("<%1@%2>").arg(QUuid::createUuid().toString(QUuid::WithoutBraces),
                                                      QString::fromLatin1(sender.mid(sender.lastIndexOf('@') + 1)));
    for (const auto& recipient : job.recipients)
        message.recipients.push_back({recipient.address, recipient.type, OutboxMessage::Outcome::Open, QString()});

    QString addendum;
    if (!notes.large.isEmpty())
        addendum += QLatin1Char('\n') + m_settings.largeFilesText + QLatin1Char('\n') + notes.large;
    if (!notes.missing.isEmpty())
        addendum += QLatin1Char('\n') + m_settings.missingFilesText + QLatin1Char('\n') + notes.missing;
    message.text = job.content + addendum;
    if (!m_settings.htmlTemplate.isEmpty())
        message.html = HtmlBody::compose(
            {m_settings.htmlTemplate, m_settings.textTemplate, job.content, job.recipients.front().address.name, addendum});
}
}
