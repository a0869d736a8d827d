#pragma once

#include <folly/Executor.h>

namespace folly
{
/// Runs every function inside `add`.
class FOLLY_EXPORT InlineExecutor : public Executor
{
public:
    [[nodiscard]] static InlineExecutor& instance() noexcept
    {
        static auto& executor = *new InlineExecutor;
        return executor;
    }

    void add(Func function) override { function(); }
};
}
