#include "FakeEmailService.hpp"

#include <QIODevice>

#include <utility>

namespace TestSupport
{
void FakeEmailService::setTemplate(const QString& text)
{
    const std::lock_guard lock(m_mutex);
    m_template = text;
}

void FakeEmailService::setAnswer(const EmailStatus& status)
{
    const std::lock_guard lock(m_mutex);
    m_answer = status;
}

void FakeEmailService::holdAnswers(bool hold)
{
    const std::lock_guard lock(m_mutex);
    m_hold = hold;
}

std::vector<FakeEmailService::Sent> FakeEmailService::sent() const
{
    const std::lock_guard lock(m_mutex);
    return m_sent;
}

int FakeEmailService::created() const
{
    const std::lock_guard lock(m_mutex);
    return m_created;
}

folly::Future<Tavola::EmailServiceAPI::EmailStatus> FakeEmailService::send(const Tavola::EmailMessage& message)
{
    Sent sent{message.recipients(), message.subject(), message.sender(), message.content, {}, message.collected()};
    for (const auto& attachment : message.attachments())
        sent.attachments.push_back({attachment.fileName, attachment.mimeType, attachment.device->readAll()});
    const std::lock_guard lock(m_mutex);
    m_sent.push_back(std::move(sent));
    if (!m_hold)
        return folly::makeFuture(m_answer);
    return open(m_sent.size() - 1);
}

Tavola::EmailMessage FakeEmailService::createMessage()
{
    const std::lock_guard lock(m_mutex);
    ++m_created;
    Tavola::EmailMessage message;
    message.setContent(m_template);
    return message;
}
}
