#pragma once

#include <Bedrock/Export.hpp>

#include <functional>
#include <memory>

namespace Bedrock
{
/// The one queue through which work reaches the main thread after a frame's update: first in, first out. What a queued
/// function queues runs in the next frame. This is the only way back into the widget tree from another thread. While a table is
/// recorded or replayed, what other threads add comes in at the beginning of a frame; see Arrivals.
class TAVOLA_EXPORT AfterUpdateQueue
{
public:
    /// The process's queue. Any thread.
    [[nodiscard]] static AfterUpdateQueue& instance();

    AfterUpdateQueue();
    ~AfterUpdateQueue();
    AfterUpdateQueue(const AfterUpdateQueue&) = delete;
    AfterUpdateQueue& operator=(const AfterUpdateQueue&) = delete;

    /// Any thread; never runs `function` inside the call.
    void add(std::function<void()> function);
    /// Runs what was queued before the call, in order, and returns how many functions ran. Main thread, once a frame.
    /// A function that throws is logged as an error; the others still run.
    int drain();
    /// Drops everything that waits, also during a drain. At shutdown, between tests, and before code is unloaded that the
    /// functions live in.
    void clear();
    [[nodiscard]] bool isEmpty() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
