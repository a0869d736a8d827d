#pragma once

#include <Bedrock/Export.hpp>

#include <functional>
#include <memory>

namespace Bedrock
{
class Reply;

/// Functions that run on the main thread after a frame's update: first in, first out. What a queued function queues runs in the
/// next frame. Functions that other threads add enter the queue through the Inbox, in the input step of the next frame.
class TAVOLA_EXPORT AfterUpdateQueue
{
public:
    /// The process's queue. Any thread.
    [[nodiscard]] static AfterUpdateQueue& instance();

    AfterUpdateQueue();
    ~AfterUpdateQueue();
    AfterUpdateQueue(const AfterUpdateQueue&) = delete;
    AfterUpdateQueue& operator=(const AfterUpdateQueue&) = delete;

    /// Any thread; never runs `function` inside the call. What a task of the BGThread adds is that task's answer.
    void add(std::function<void()> function);
    /// Runs what was queued before the call, in order, and returns how many functions ran. Main thread, once a frame.
    /// A function that throws is logged as an error; the others still run.
    int drain();
    /// Destroys everything that waits, also during a drain. At shutdown, between tests, and before code is unloaded that the
    /// functions live in.
    void clear();
    [[nodiscard]] bool isEmpty() const;

    /// While it lives, what its thread adds to a queue enters as results of one job. The reply must outlive it.
    class TAVOLA_EXPORT ThroughReply
    {
    public:
        explicit ThroughReply(Reply& reply) noexcept;
        ~ThroughReply();
        ThroughReply(const ThroughReply&) = delete;
        ThroughReply& operator=(const ThroughReply&) = delete;

    private:
        Reply* m_outer;
    };

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
