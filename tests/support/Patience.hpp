#pragma once

#include <chrono>

namespace TestSupport
{
/// How long a test waits for a condition that a thread, a program or a connection fulfils. Only a test that fails waits so long.
constexpr std::chrono::seconds kPatience{60};
constexpr int kPatienceMs = 60000;
}
