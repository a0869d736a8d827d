#pragma once

#include <mutex>

namespace Bedrock
{
/// A plain mutex whose construction happens at compile time, so that a static one is usable before any constructor ran.
using Mutex = std::mutex;
/// Holds a Mutex for a scope.
using MutexGuard = std::lock_guard<Mutex>;
}
