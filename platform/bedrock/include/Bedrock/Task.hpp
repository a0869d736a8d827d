#pragma once

#include <Bedrock/Export.hpp>

#include <atomic>

namespace Bedrock
{
/// A piece of work for the background thread, which calls `doTask` again and again until the task calls `setFinished`.
class TAVOLA_EXPORT Task
{
public:
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    virtual ~Task();

    /// One round of the work; runs on the background thread.
    virtual void doTask() = 0;

    void setFinished() noexcept { m_finished = true; }
    [[nodiscard]] bool isFinished() const noexcept { return m_finished; }

private:
    std::atomic<bool> m_finished{false};
};
}
