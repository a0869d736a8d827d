#include "MimeComposer.hpp"

#include "Base64File.hpp"
#include "MailHeader.hpp"
#include "OutboxMessage.hpp"

#include <QDateTime>

#include <cstdio>
#include <memory>

namespace Host
{
namespace
{
/// Lines of a mail end with CR LF.
QByteArray mailLines(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return text.replace(QLatin1Char('\n'), QLatin1String("\r\n")).toUtf8();
}

std::size_t readFile(char* target, std::size_t size, std::size_t count, void* file)
{
    const qint64 got = static_cast<Base64File*>(file)->read(target, qint64(size * count));
    return got < 0 ? std::size_t(CURL_READFUNC_ABORT) : std::size_t(got);
}

int seekFile(void* file, curl_off_t offset, int origin)
{
    const bool isBeginning = offset == 0 && origin == SEEK_SET;
    return isBeginning && static_cast<Base64File*>(file)->rewind() ? CURL_SEEKFUNC_OK : CURL_SEEKFUNC_CANTSEEK;
}

void closeFile(void* file)
{
    delete static_cast<Base64File*>(file);
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
        auto bytes = std::make_unique<Base64File>(file.path);
        if (!bytes->open()) {
            error = QStringLiteral("the outbox has lost its copy of %1").arg(MailHeader::oneLine(file.name));
            return false;
        }
        curl_mimepart* part = curl_mime_addpart(m_mime);
        // The library's own encoder takes a file in pieces of a kilobyte, which makes large ones slow.
        const qint64 size = bytes->encodedSize();
        curl_mime_data_cb(part, size, readFile, seekFile, closeFile, bytes.release());
        curl_mime_type(part, MailHeader::mimeType(file.mimeType).constData());
        // Its own header names it, in a form that any name survives.
        const QByteArray disposition = "Content-Disposition: attachment" + MailHeader::parameter("filename", file.name);
        curl_slist* headers = curl_slist_append(nullptr, disposition.constData());
        curl_mime_headers(part, curl_slist_append(headers, "Content-Transfer-Encoding: base64"), 1);
    }
    curl_easy_setopt(m_transfer, CURLOPT_HTTPHEADER, m_headers);
    curl_easy_setopt(m_transfer, CURLOPT_MIMEPOST, m_mime);
    return true;
}
}
