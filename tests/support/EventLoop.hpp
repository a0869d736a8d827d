#pragma once

#include <Patience.hpp>
#include <functional>

namespace TestSupport
{
/// Processes Qt's events until `condition` holds; false when it does not within `timeoutMs`. The condition is asked
/// after every batch of events and every few milliseconds, so it may also be one that another thread fulfils.
/// For tests with real sockets and threads; everything else cranks frames by hand.
[[nodiscard]] bool pumpUntil(const std::function<bool()>& condition, int timeoutMs = kPatienceMs);
}
