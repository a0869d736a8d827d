#pragma once

#include <Bedrock/Task.hpp>

#include <functional>

namespace Bedrock
{
/// A task made from a function, which is given the task and calls `setFinished()` on it when there is nothing more to do.
class TAVOLA_EXPORT FunctionTask final : public Task
{
public:
    explicit FunctionTask(std::function<void(Task&)> function);
    void doTask() override;

private:
    std::function<void(Task&)> m_function;
};
}
