#pragma once

namespace Bench
{
/// What this program has from the C library's allocator, which Memory.cpp stands in front of: operator new, Qt's containers and
/// libraries in C all end there. Bytes are what the allocator keeps for each block (malloc_usable_size), without its header of
/// eight bytes. Any thread.
[[nodiscard]] long bytesInUse();
/// Calls that gave memory, since the program began.
[[nodiscard]] long allocations();
}
