#pragma once

#include <Bedrock/Export.hpp>
#include <Http/Message.hpp>

#include <functional>

namespace Http
{
/// The right to answer one request, once. Move only; may be kept, moved to another thread and used there. A reply that is
/// destroyed without having been sent answers 500, so a request never stays open; one whose client or server is gone does
/// nothing.
class TAVOLA_EXPORT Reply
{
public:
    using Send = std::function<void(Response&&)>;

    /// For the server, and for tests: `send` is called at most once, on the thread of send() or of the destructor.
    explicit Reply(Send send);
    Reply(Reply&& other) noexcept;
    Reply& operator=(Reply&& other) noexcept;
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;
    ~Reply();

    /// Any thread. A second call does nothing.
    void send(Response response);

private:
    Send m_send;
};
}
