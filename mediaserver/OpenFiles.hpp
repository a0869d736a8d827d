#pragma once

#include "shared/Result.hpp"

#include <cstddef>

namespace MediaServer
{

/// The number of connections this process can hold, at most `wanted`: each takes two open files, one for the client and one for
/// its download, and some are needed besides. Raises the process's own limit where the system allows it. An error when the
/// system allows too few files for a single connection.
[[nodiscard]] Result<std::size_t> connectionsWithinOpenFiles(std::size_t wanted);

}
