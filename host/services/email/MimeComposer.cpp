#include "MimeComposer.hpp"

#include "MailHeader.hpp"
#include "OutboxMessage.hpp"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace
{
/// Lines of a mail end with CR LF.
QByteArray mailLines(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return text.replace(QLatin1Char('\n'), QLatin1String("\r\n")).toUtf8();
}

QByteArray mailboxes(const OutboxMessage& message, Tavola::EmailMessage::RecipientType type)
{
    QByteArray result;
    for (const auto& recipient : message.recipients)
        if (recipient.type == type)
            result += (result.isEmpty() ? "" : ",\r\n ") + MailHeader::mailbox(recipient.address);
    return result;
}
}

MimeComposer::~MimeComposer()
{
    curl_easy_setopt(m_transfer, CURLOPT_MIMEPOST, nullptr);
    curl_easy_setopt(m_transfer, CURLOPT_HTTPHEADER, nullptr);
    curl_mime_free(m_mime);
    curl_slist_free_all(m_headers);
}

void MimeComposer::addHeader(const QByteArray& line)
{
    m_headers = curl_slist_append(m_headers, line.constData());
}

void MimeComposer::addText(curl_mime* mime, const QString& text, const char* type)
{
    curl_mimepart* part = curl_mime_addpart(mime);
    const QByteArray bytes = mailLines(text);
    curl_mime_data(part, bytes.constData(), std::size_t(bytes.size()));
    curl_mime_type(part, type);
    curl_mime_encoder(part, "base64");
}

void MimeComposer::addBody(const OutboxMessage& message)
{
    if (message.html.isEmpty()) {
        addText(m_mime, message.text, "text/plain; charset=utf-8");
        return;
    }
    curl_mime* alternative = curl_mime_init(m_transfer);
    addText(alternative, message.text, "text/plain; charset=utf-8");
    addText(alternative, message.html, "text/html; charset=utf-8");
    curl_mimepart* part = curl_mime_addpart(m_mime);
    curl_mime_subparts(part, alternative);
    curl_mime_type(part, "multipart/alternative");
    curl_mime_headers(part, curl_slist_append(nullptr, "Content-Disposition: inline"), 1);
}

bool MimeComposer::compose(const OutboxMessage& message, QString& error)
{
    using Tavola::EmailMessage;
    addHeader("Date: " + MailHeader::date(QDateTime::fromMSecsSinceEpoch(message.createdMs, Qt::UTC)));
    addHeader("Message-ID: " + message.messageId.toLatin1());
    addHeader("From: " + MailHeader::mailbox(message.sender));
    const QByteArray to = mailboxes(message, EmailMessage::To);
    const QByteArray copies = mailboxes(message, EmailMessage::Cc);
    addHeader("To: " + (to.isEmpty() ? QByteArrayLiteral("undisclosed-recipients:;") : to));
    if (!copies.isEmpty())
        addHeader("Cc: " + copies);
    addHeader("Subject: " + MailHeader::text(message.subject));
    addHeader("Auto-Submitted: auto-generated");

    m_mime = curl_mime_init(m_transfer);
    addBody(message);
    for (const auto& file : message.files) {
        if (!QFileInfo(file.path).isFile()) {
            error = QStringLiteral("the outbox has lost its copy of %1").arg(MailHeader::oneLine(file.name));
            return false;
        }
        curl_mimepart* part = curl_mime_addpart(m_mime);
        curl_mime_filedata(part, QFile::encodeName(file.path).constData());
        curl_mime_filename(part, nullptr); // its own header names it, in a form that any name survives
        curl_mime_type(part, MailHeader::mimeType(file.mimeType).constData());
        curl_mime_encoder(part, "base64");
        const QByteArray disposition = "Content-Disposition: attachment" + MailHeader::parameter("filename", file.name);
        curl_mime_headers(part, curl_slist_append(nullptr, disposition.constData()), 1);
    }
    curl_easy_setopt(m_transfer, CURLOPT_HTTPHEADER, m_headers);
    curl_easy_setopt(m_transfer, CURLOPT_MIMEPOST, m_mime);
    return true;
}
