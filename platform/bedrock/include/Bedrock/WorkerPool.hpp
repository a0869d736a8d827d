#pragma once

#include <Bedrock/Export.hpp>

#include <functional>
#include <memory>

namespace Bedrock
{
/// A few threads that work off a queue: for a service that reads, decodes or writes much.
/// Tasks begin in the order they were added; with one thread they also end in it. For work that takes turns with that of other
/// classes, see `BGThread`.
///
///     Bedrock::WorkerPool m_pool{2};  // the last member, so that its tasks find the others alive
///     m_pool.run('i', [this, path] { return [this, picture = read(path)] { show(picture); }; });
///
/// Operations: any thread, unless they say otherwise.
class TAVOLA_EXPORT WorkerPool
{
public:
    using Task = std::function<void()>;

    /// Never more than `threads` threads (at least one). Each starts when a task comes that no other is free for, and stays
    /// until `shutdown()`.
    explicit WorkerPool(int threads);
    /// As `shutdown()`.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// May be called from a task. A task that throws is logged and dropped, the others go on. What a task holds is let go on
    /// its thread before the pool counts as idle. After `shutdown()` tasks are dropped with a warning.
    /// Throws std::system_error, without keeping the task, when not even one thread can be started.
    void add(Task task);

    /// A task that is a job of the Inbox, of this kind: what `work` returns runs on the main thread when a coming frame takes its
    /// input. The job ends without an answer when `work` returns an empty function, throws or is dropped. As add() otherwise.
    void run(char kind, std::function<std::function<void()>()> work);

    /// Destroys the tasks that have not begun, in this call.
    void dropWaiting();
    /// Blocks until no task is waiting or running. For tests and orderly shutdown; never on the main thread of a running
    /// table, never from a task.
    void waitUntilIdle();
    /// `dropWaiting()`, then blocks until the running tasks have ended, and ends the threads. Never from a task. Harmless
    /// when called again.
    void shutdown();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
