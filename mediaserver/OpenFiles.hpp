#pragma once

#include "Result.hpp"

#include <cstddef>

namespace MediaServer
{

/// How many connections this process can hold, `wanted` at most: each takes two open files, one for the client and one
/// for what it downloads, and some are needed beside. Raises the process's own limit where the system allows that. The
/// error is that the system allows too few to serve anybody.
[[nodiscard]] Result<std::size_t> connectionsWithinOpenFiles(std::size_t wanted);

} // namespace MediaServer
