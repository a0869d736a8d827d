#pragma once

#include <Bedrock/Trace.hpp>

#include <exception>

namespace Trellis
{
/// Runs what belongs to somebody else, a widget's handler or a listener: a frame goes on whatever it throws. Logs an error
/// with `what`, the name of what was called.
template <class Function>
void guarded(const char* what, Function&& function)
{
    try {
        function();
    } catch (const std::exception& e) {
        Bedrock::Trace::error("Application::frame # %s threw (%s), the frame goes on", what, e.what());
    } catch (...) {
        Bedrock::Trace::error("Application::frame # %s threw, the frame goes on", what);
    }
}
}
