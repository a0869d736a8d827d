#pragma once

#include <curl/curl.h>

#include <QString>

namespace Host
{
struct OutboxMessage;

/// Puts an outbox message on a transfer: header lines and body. Files are read while the transfer runs, piece by piece.
///
///     multipart/mixed
///       text/plain, or multipart/alternative of text/plain and text/html
///       a file ...                                                          all of them in base64
class MimeComposer
{
public:
    /// The composer must live for as long as the transfer runs.
    explicit MimeComposer(CURL* transfer) : m_transfer(transfer) {}
    ~MimeComposer();
    MimeComposer(const MimeComposer&) = delete;
    MimeComposer& operator=(const MimeComposer&) = delete;

    /// False, with the reason in `error`, when a copied file is gone.
    [[nodiscard]] bool compose(const OutboxMessage& message, QString& error);

private:
    void addHeader(const QByteArray& line);
    void addText(curl_mime* mime, const QString& text, const char* type);
    void addBody(const OutboxMessage& message);

    CURL* m_transfer;
    curl_slist* m_headers = nullptr;
    curl_mime* m_mime = nullptr;
};
}
