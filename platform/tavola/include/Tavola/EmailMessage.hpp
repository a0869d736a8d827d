#pragma once

#include <Bedrock/Export.hpp>
#include <Tavola/EmailAddress.hpp>

#include <QList>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

class QIODevice;

namespace Tavola
{
/// One e-mail before it is sent; made by EmailServiceAPI::createMessage. Moves, does not copy. One thread at a time.
///
/// The opened devices of its attachments belong to the message, and from EmailServiceAPI::send on to the service as well,
/// which reads them on a thread of its own: after that call the sender neither reads them nor sends the message again.
class TAVOLA_EXPORT EmailMessage
{
public:
    enum RecipientType { To = 0, Cc, Bcc };

    struct Recipient
    {
        EmailAddress address;
        RecipientType type = To;
    };
    struct Attachment
    {
        QString fileName;                  ///< as the recipient sees it, without a folder
        std::shared_ptr<QIODevice> device; ///< never null; open for reading, without a parent and without signals in use
        QString mimeType;
    };

    /// What the message carries of a card's collection. A plain record.
    struct Collected
    {
        std::uint64_t code = 0;
        QList<QString> keys; ///< of CollectionStoreAPI::lastingKey
    };

    EmailMessage();
    EmailMessage(EmailMessage&& other) noexcept;
    EmailMessage& operator=(EmailMessage&& other) noexcept;
    EmailMessage(const EmailMessage&) = delete;
    EmailMessage& operator=(const EmailMessage&) = delete;
    ~EmailMessage();

    /// The text of the message: in a new one the service's template, with its placeholders.
    QString content;

    void setContent(const QString& text);
    void addRecipient(const EmailAddress& recipient, RecipientType type);
    /// Attaches the bytes of `device` from its beginning; it is open for reading. A null device is ignored.
    void addAttachment(const QString& fileName, std::unique_ptr<QIODevice> device, const QString& mimeType);
    /// Has the program remove these items when it starts, should it end between the acceptance of the message and their removal:
    /// they would be sent again.
    void setCollected(const Collected& collected);
    /// The subject and the sender; while they are empty, the service's own apply.
    void setSubject(const QString& subject);
    void setSender(const EmailAddress& sender);

    [[nodiscard]] const QString& subject() const noexcept { return m_subject; }
    [[nodiscard]] const EmailAddress& sender() const noexcept { return m_sender; }
    [[nodiscard]] const Collected& collected() const noexcept { return m_collected; }
    /// In the order they were added.
    [[nodiscard]] const std::vector<Recipient>& recipients() const noexcept { return m_recipients; }
    [[nodiscard]] const std::vector<Attachment>& attachments() const noexcept { return m_attachments; }

private:
    QString m_subject;
    EmailAddress m_sender;
    Collected m_collected;
    std::vector<Recipient> m_recipients;
    std::vector<Attachment> m_attachments;
};
}
