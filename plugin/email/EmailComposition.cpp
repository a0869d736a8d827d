#include "email/EmailComposition.hpp"

#include <Bedrock/Trace.hpp>
#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceProvider.hpp>
#include <Tavola/Tavola.hpp>

#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <memory>

namespace Tavola
{
namespace
{
/// Attaches a local file under its name without directory; logs a warning when it cannot be opened.
void attachFile(EmailMessage& message, const QString& path)
{
    auto file = std::make_unique<QFile>(path);
    // Opening a named pipe would block the main thread until another process writes into it.
    if (!QFileInfo(path).isFile() || !file->open(QIODevice::ReadOnly)) {
        Bedrock::Trace::warning("createMessage # Failed to open file %s for reading", path.toUtf8().constData());
        return;
    }
    message.addAttachment(QFileInfo(path).fileName(), std::move(file), QString::fromUtf8("application/octet-stream"));
}

/// Each link on a line of its own, with an empty line between two links.
QString linksText(const QStringList& links)
{
    QString text;
    for (const QString& link : links)
        text += QLatin1Char('\n') + link + QLatin1Char('\n');
    return text + QLatin1Char('\n');
}
}

QList<Attachment> parseAttachments(const FileRepresentation::FileData& data)
{
    QList<Attachment> attachments;
    for (const QString& file : data.files)
        attachments.append({file, false});
    for (const QString& source : data.sources)
        attachments.append({source, true});
    if (!data.url.isEmpty())
        attachments.append({data.url, true});
    if (attachments.isEmpty())
        attachments.append({data.file, false});
    return attachments;
}

boost::expected<EmailMessage, QString> createMessage(const QList<Attachment>& attachments, const QString& name,
                                                     const QString& address)
{
    const auto application = Tavola::instance();
    const std::shared_ptr<EmailServiceAPI> service = application ? application->services()->emailService(QString()) : nullptr;
    if (!service)
        return boost::make_unexpected(QString::fromUtf8("No email service configured"));

    EmailMessage message = service->createMessage();
    message.addRecipient({address, name}, EmailMessage::To);

    QStringList links;
    for (const Attachment& attachment : attachments) {
        if (attachment.isLink || QFileInfo(attachment.path).isRelative())
            links.append(attachment.path);
        else
            attachFile(message, attachment.path);
    }

    QString body = message.content;
    const QLatin1String linksPlace("<links>");
    if (body.contains(linksPlace))
        body.replace(linksPlace, linksText(links));
    else
        body += linksText(links);
    body.replace(QLatin1String("<name>"), name);
    message.setContent(body);
    return message;
}

void printEmailError(const QString& error, const QString& address)
{
    Bedrock::Trace::error("PersonalSpaceWidget::emailContents # Failed to send email to %s (%s)", address.toUtf8().constData(),
                          error.toUtf8().constData());
}
}
