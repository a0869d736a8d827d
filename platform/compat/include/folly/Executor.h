#pragma once

#include <folly/CPortability.h>
#include <folly/Function.h>

namespace folly
{
using Func = Function<void()>;

/// Runs functions somewhere, at some time.
class FOLLY_EXPORT Executor
{
public:
    virtual ~Executor() = default;

    /// Takes a function to run. Any thread; whether it may run inside the call is the executor's choice.
    /// A function that is dropped instead breaks the promises it holds.
    virtual void add(Func function) = 0;
};
}
