#include "MessageIntake.hpp"

#include "HtmlBody.hpp"
#include "MailText.hpp"
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

MailJob::MailJob(const Tavola::EmailMessage& message)
    : subject(message.subject()), sender(message.sender()), content(message.content), recipients(message.recipients()),
      attachments(message.attachments())
{
    for (auto& recipient : recipients)
        recipient.address.address = recipient.address.address.trimmed();
}

bool MessageIntake::check(const MailJob& job, QString& error)
{
    if (job.recipients.empty()) {
        error = QStringLiteral("the message has no recipient");
        return false;
    }
    const auto isUsable = [&error](const QString& address) {
        if (MailText::isAddress(address))
            return true;
        error = QStringLiteral("\"%1\" is no e-mail address").arg(MailText::oneLine(address));
        return false;
    };
    for (const auto& recipient : job.recipients)
        if (!isUsable(recipient.address.address))
            return false;
    return job.sender.address.isEmpty() || isUsable(job.sender.address);
}

bool MessageIntake::accept(const MailJob& job, OutboxMessage& message, QString& error) const
{
    if (!check(job, error))
        return false;
    const Tavola::EmailAddress& sender = job.sender.address.isEmpty() ? m_settings.sender : job.sender;
    const QString host = QString::fromLatin1(MailText::plainAddress(sender.address)).section(QLatin1Char('@'), -1);
    message.messageId = QStringLiteral("<%1@%2>").arg(QUuid::createUuid().toString(QUuid::WithoutBraces), host);
    message.sender = sender.address;
    for (const auto& recipient : job.recipients)
        message.recipients.push_back({recipient.address.address, OutboxMessage::Outcome::Open, QString()});
    message.file = OutboxFiles::newName();

    // The body names what cannot be read, so a fault found while composing begins it anew.
    std::vector<QString> faults(job.attachments.size());
    for (;;) {
        Plan plan = this->plan(job, faults);
        plan.letter.messageId = message.messageId;
        plan.letter.createdMs = message.createdMs;
        plan.letter.sender = sender;
        const auto result = MailComposer::compose(plan.letter, m_files.path(message.file));
        if (result.kind == MailComposer::Result::Kind::DiskFault) {
            error = QStringLiteral("the message cannot be kept (%1)").arg(result.words);
            return false;
        }
        if (result.kind == MailComposer::Result::Kind::Done) {
            message.sizeBytes = result.sizeBytes;
            for (const QString& note : plan.notes)
                Bedrock::Trace::info("MessageIntake # %s", note.toUtf8().constData());
            return true;
        }
        const std::size_t which = plan.attached[result.attachment];
        faults[which] = result.words;
        Bedrock::Trace::warning("MessageIntake # Failed to read the attachment %s (%s); the message goes without it",
                                MailText::oneLine(job.attachments[which].fileName).toUtf8().constData(),
                                result.words.toUtf8().constData());
    }
}

MessageIntake::Plan MessageIntake::plan(const MailJob& job, const std::vector<QString>& faults) const
{
    Plan plan;
    plan.letter.subject = job.subject.isEmpty() ? m_settings.subject : job.subject;
    plan.letter.recipients = job.recipients;
    QString large;
    QString missing;
    qint64 total = 0;
    for (std::size_t i = 0; i < job.attachments.size(); ++i) {
        auto attachment = job.attachments[i];
        attachment.fileName = MailText::oneLine(attachment.fileName);
        const qint64 size = attachment.device->isSequential() ? 0 : attachment.device->size();
        if (!faults[i].isEmpty()) {
            missing += attachment.fileName + QLatin1Char('\n');
        } else if (total + size > m_settings.attachmentLimitBytes) {
            large += QStringLiteral("%1 (%2 MB)\n").arg(link(attachment), megabytes(size));
            plan.notes << QStringLiteral("%1 (%2 MB) is beyond the limit of %3 MB a message; it is sent as a link")
                              .arg(attachment.fileName, megabytes(size), megabytes(m_settings.attachmentLimitBytes));
        } else {
            total += size;
            if (attachment.fileName.isEmpty())
                attachment.fileName = QStringLiteral("file");
            plan.attached.push_back(i);
            plan.letter.attachments.push_back(attachment);
        }
    }
    QString addendum;
    if (!large.isEmpty())
        addendum += QLatin1Char('\n') + m_settings.largeFilesText + QLatin1Char('\n') + large;
    if (!missing.isEmpty())
        addendum += QLatin1Char('\n') + m_settings.missingFilesText + QLatin1Char('\n') + missing;
    plan.letter.text = job.content + addendum;
    if (!m_settings.htmlTemplate.isEmpty())
        plan.letter.html = HtmlBody::compose(
            {m_settings.htmlTemplate, m_settings.textTemplate, job.content, job.recipients.front().address.name, addendum});
    return plan;
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
