#include "Cadence/TaskScheduler.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>

#include <folly/Executor.h>

#include <utility>

namespace Cadence
{
namespace
{
class AfterUpdateExecutor final : public folly::Executor
{
public:
    void add(folly::Func function) override
    {
        // The queue's functions are copyable, this one is not.
        Bedrock::AfterUpdateQueue::instance().add([shared = std::make_shared<folly::Func>(std::move(function))] { (*shared)(); });
    }
};
}

struct TaskScheduler::Private
{
    AfterUpdateExecutor afterUpdate;
};

std::shared_ptr<TaskScheduler> TaskScheduler::instance()
{
    // Never destroyed: futures may be completed by other threads until the process is gone.
    static const auto& scheduler = *new std::shared_ptr<TaskScheduler>(std::make_shared<TaskScheduler>());
    return scheduler;
}

TaskScheduler::TaskScheduler() : d(std::make_unique<Private>()) {}

TaskScheduler::~TaskScheduler() = default;

folly::Executor* TaskScheduler::afterUpdate() const noexcept
{
    return &d->afterUpdate;
}
}
