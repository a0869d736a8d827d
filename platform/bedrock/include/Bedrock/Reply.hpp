#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>

namespace Bedrock
{
struct InboxState;

/// The open end of a job of the Inbox, owned by the code that does the work. Answering it ends the job, and so does destroying it
/// without an answer; both on any thread. One that was answered or moved from belongs to no job, and answering it does nothing.
class TAVOLA_EXPORT Reply
{
public:
    Reply() noexcept;
    ~Reply();
    Reply(Reply&& other) noexcept;
    Reply& operator=(Reply&& other) noexcept;

    /// Ends the job: `deliver` runs on the main thread when a coming frame takes its input. Never inside the call.
    /// An empty function is no answer.
    void answer(std::function<void()> deliver) &&;
    /// An earlier result of the same job, which goes on. Delivered ahead of the later ones.
    void answerInPart(std::function<void()> deliver);
    /// False when it belongs to no job.
    [[nodiscard]] explicit operator bool() const noexcept { return m_inbox != nullptr; }

private:
    friend class Inbox;
    friend class BytesReply;
    Reply(std::shared_ptr<InboxState> inbox, std::uint64_t key) noexcept;
    void drop() noexcept;

    std::shared_ptr<InboxState> m_inbox;
    std::uint64_t m_key = 0;
};

/// The open end of a job outside of the process, begun with Inbox::ask; the same rules.
class TAVOLA_EXPORT BytesReply
{
public:
    BytesReply() noexcept = default;

    /// Ends the job: what was given to Inbox::ask is called with `bytes`. Never inside the call.
    void answer(const QByteArray& bytes) &&;
    /// False when it belongs to no job.
    [[nodiscard]] explicit operator bool() const noexcept { return bool(m_reply); }

private:
    friend class Inbox;
    explicit BytesReply(Reply reply) noexcept;

    Reply m_reply;
};
}
