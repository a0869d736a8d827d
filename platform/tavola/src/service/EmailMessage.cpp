#include <Tavola/EmailMessage.hpp>

#include <QIODevice>

#include <utility>

namespace Tavola
{
EmailMessage::EmailMessage() = default;
EmailMessage::EmailMessage(EmailMessage&& other) noexcept = default;
EmailMessage& EmailMessage::operator=(EmailMessage&& other) noexcept = default;
EmailMessage::~EmailMessage() = default;

void EmailMessage::setContent(const QString& text)
{
    content = text;
}

void EmailMessage::addRecipient(const EmailAddress& recipient, RecipientType type)
{
    m_recipients.push_back({recipient, type});
}

void EmailMessage::addAttachment(const QString& fileName, std::unique_ptr<QIODevice> device, const QString& mimeType)
{
    if (device)
        m_attachments.push_back({fileName, std::move(device), mimeType});
}

void EmailMessage::setCollected(const Collected& collected)
{
    m_collected = collected;
}

void EmailMessage::setSubject(const QString& subject)
{
    m_subject = subject;
}

void EmailMessage::setSender(const EmailAddress& sender)
{
    m_sender = sender;
}
}
