#include "Bedrock/FunctionTask.hpp"

#include <utility>

namespace Bedrock
{
FunctionTask::FunctionTask(std::function<void(Task&)> function) : m_function(std::move(function)) {}

void FunctionTask::doTask()
{
    if (m_function)
        m_function(*this);
    else
        setFinished();
}
}
