#pragma once

#include <Bedrock/Trace.hpp>

#include <exception>
#include <utility>

namespace Bedrock
{
/// Runs `function` and keeps what it throws from leaving: `failed(const char* reason)` is called instead, with the text of the
/// exception or "unknown exception". Returns whether `function` came to its end. Any thread; allocates nothing when all goes
/// well.
template <class Function, class Failed>
bool guarded(Function&& function, Failed&& failed)
{
    try {
        std::forward<Function>(function)();
        return true;
    } catch (const std::exception& exception) {
        failed(exception.what());
    } catch (...) {
        failed("unknown exception");
    }
    return false;
}

/// The same; logs the error "`what` (reason)".
///
///     guarded("WorkerPool # A task failed and is dropped", task);
template <class Function>
bool guarded(const char* what, Function&& function)
{
    return guarded(std::forward<Function>(function), [what](const char* reason) { Trace::error("%s (%s)", what, reason); });
}
}
