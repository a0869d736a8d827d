#pragma once

#include <folly/CPortability.h>
#include <folly/Function.h>

namespace folly
{
using Func = Function<void()>;

/// Runs functions: on which thread and when is up to the implementation.
class FOLLY_EXPORT Executor
{
public:
    virtual ~Executor() = default;

    /// Any thread. The function may run inside the call, if the implementation says so; one that is dropped instead
    /// breaks the promises it holds.
    virtual void add(Func function) = 0;
};
}
