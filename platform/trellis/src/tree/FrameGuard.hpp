#pragma once

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <utility>

namespace Trellis
{
/// Runs code from outside the library, a widget's handler or a listener: a frame goes on whatever it throws. Logs an error
/// with `what`, the name of what was called.
template <class Function>
void guardedInFrame(const char* what, Function&& function)
{
    Bedrock::guarded(std::forward<Function>(function), [what](const char* reason) {
        Bedrock::Trace::error("Application::frame # %s threw (%s), the frame goes on", what, reason);
    });
}
}
