#pragma once

namespace FacetTest
{
/// Calls of operator new in this program (libraries included) since it began.
[[nodiscard]] long allocations();
/// Bytes that operator new has given out and operator delete has not taken back, each block as large as the allocator made it
/// (malloc_usable_size) and with its header. What is allocated by malloc itself, such as the characters of a QString, is not
/// counted.
[[nodiscard]] long bytesInUse();
}
