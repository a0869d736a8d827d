#pragma once

#include <Bedrock/Export.hpp>

#include <memory>

namespace Bedrock
{
class Task;

/// The process's background thread, for work that blocks. Tasks take turns in the order they were added; one that has
/// not finished goes to the end of the queue. A task that throws is logged and dropped, the others go on. A task is a job of the
/// Inbox; its answer is what it adds to the AfterUpdateQueue, which runs on the main thread after an update.
/// The thread starts with the first task. All operations: any thread.
class TAVOLA_EXPORT BGThread
{
public:
    /// The instance; kept until process exit or `shutdown()`.
    [[nodiscard]] static std::shared_ptr<BGThread> instance();
    /// Ends the instance's thread: waits for the task that is running, drops the waiting ones. The next `instance()` is a new
    /// one.
    static void shutdown();

    BGThread();
    ~BGThread();
    BGThread(const BGThread&) = delete;
    BGThread& operator=(const BGThread&) = delete;

    /// A task that is finished before its turn does not run. After `shutdown()` tasks are dropped with a warning.
    void addTask(std::shared_ptr<Task> task);
    /// Blocks until no task is waiting or running. For tests and orderly shutdown; never on the main thread of a running table,
    /// never from a task.
    void waitUntilIdle();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
