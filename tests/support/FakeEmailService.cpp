#include "FakeEmailService.hpp"

#include <QIODevice>

#include <algorithm>
#include <stdexcept>
#include <thread>

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

std::vector<std::size_t> FakeEmailService::waiting() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::size_t> indices;
    for (const auto& one : m_waiting)
        indices.push_back(one.first);
    return indices;
}

folly::Promise<Tavola::EmailServiceAPI::EmailStatus> FakeEmailService::take(std::size_t index)
{
    const std::lock_guard lock(m_mutex);
    const auto found = std::find_if(m_waiting.begin(), m_waiting.end(), [index](const auto& one) { return one.first == index; });
    if (found == m_waiting.end())
        throw std::logic_error("message " + std::to_string(index) + " of the fake e-mail service does not wait for an answer");
    auto promise = std::move(found->second);
    m_waiting.erase(found);
    return promise;
}

void FakeEmailService::answer(std::size_t index, const EmailStatus& status)
{
    take(index).setValue(status);
}

void FakeEmailService::fail(std::size_t index, const std::string& text)
{
    take(index).setException(std::runtime_error(text));
}

void FakeEmailService::answerFromThread(std::size_t index, const EmailStatus& status)
{
    std::thread([promise = take(index), status]() mutable { promise.setValue(status); }).join();
}

void FakeEmailService::failFromThread(std::size_t index, const std::string& text)
{
    std::thread([promise = take(index), text]() mutable { promise.setException(std::runtime_error(text)); }).join();
}

folly::Future<Tavola::EmailServiceAPI::EmailStatus> FakeEmailService::send(const Tavola::EmailMessage& message)
{
    Sent sent{message.recipients(), message.subject(), message.sender(), message.content, {}};
    for (const auto& attachment : message.attachments())
        sent.attachments.push_back({attachment.fileName, attachment.mimeType, attachment.device->readAll()});
    const std::lock_guard lock(m_mutex);
    m_sent.push_back(std::move(sent));
    if (!m_hold)
        return folly::makeFuture(m_answer);
    m_waiting.emplace_back(m_sent.size() - 1, folly::Promise<EmailStatus>());
    return m_waiting.back().second.getFuture();
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
