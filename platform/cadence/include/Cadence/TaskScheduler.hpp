#pragma once

#include <Bedrock/Export.hpp>

#include <memory>

namespace folly
{
class Executor;
}

namespace Cadence
{
/// Gives out the executors on which work of the frame loop runs.
class TAVOLA_EXPORT TaskScheduler
{
public:
    /// The process's scheduler. Any thread.
    [[nodiscard]] static std::shared_ptr<TaskScheduler> instance();

    TaskScheduler();
    ~TaskScheduler();
    TaskScheduler(const TaskScheduler&) = delete;
    TaskScheduler& operator=(const TaskScheduler&) = delete;

    /// Runs functions on the main thread, after the update of the frame, in order of arrival among everything that waits for that
    /// moment; never inside the call. Any thread may add; what another one than the main thread adds arrives in the input step of
    /// the next frame. Owned by the scheduler, which lives until process exit.
    [[nodiscard]] folly::Executor* afterUpdate() const noexcept;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
