#include "Http/Reply.hpp"

#include <utility>

namespace Http
{
Reply::Reply(Send send) : m_send(std::move(send)) {}

Reply::Reply(Reply&& other) noexcept : m_send(std::exchange(other.m_send, nullptr)) {}

Reply& Reply::operator=(Reply&& other) noexcept
{
    // What was owed before is answered by the destructor.
    const Reply before(std::move(*this));
    m_send = std::exchange(other.m_send, nullptr);
    return *this;
}

Reply::~Reply()
{
    if (m_send)
        send(plainResponse(500, "Something went wrong here. Please try again.\n"));
}

void Reply::send(Response response)
{
    if (const Send send = std::exchange(m_send, nullptr))
        send(std::move(response));
}
}
