#include "Bedrock/Reply.hpp"

#include "InboxState.hpp"

#include <utility>

namespace Bedrock
{
Reply::Reply() noexcept = default;

Reply::Reply(std::shared_ptr<InboxState> inbox, std::uint64_t key) noexcept : m_inbox(std::move(inbox)), m_key(key) {}

Reply::~Reply()
{
    drop();
}

Reply::Reply(Reply&& other) noexcept : m_inbox(std::move(other.m_inbox)), m_key(other.m_key) {}

Reply& Reply::operator=(Reply&& other) noexcept
{
    if (this != &other) {
        drop();
        m_inbox = std::move(other.m_inbox);
        m_key = other.m_key;
    }
    return *this;
}

void Reply::answer(std::function<void()> deliver) &&
{
    if (!deliver)
        return drop();
    if (const auto inbox = std::exchange(m_inbox, nullptr))
        inbox->arrive(m_key, std::move(deliver), true);
}

void Reply::answerInPart(std::function<void()> deliver)
{
    if (m_inbox && deliver)
        m_inbox->arrive(m_key, std::move(deliver), false);
}

void Reply::drop() noexcept
{
    if (const auto inbox = std::exchange(m_inbox, nullptr))
        inbox->drop(m_key);
}

BytesReply::BytesReply(Reply reply) noexcept : m_reply(std::move(reply)) {}

void BytesReply::answer(const QByteArray& bytes) &&
{
    if (const auto inbox = std::exchange(m_reply.m_inbox, nullptr))
        inbox->arrive(m_reply.m_key, bytes);
}
}
