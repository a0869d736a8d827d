#pragma once

#include <Bedrock/Export.hpp>

#include <cstddef>

namespace Bedrock
{
/// Asks for large pages for the first `bytes` of the heap, which a program that starts would else be brought in thousands of
/// small ones, each at its first write. What is not written to takes no memory. Call once, first in `main`, in a program that
/// will use about so much. Does nothing where the heap is not one piece of memory, as under a sanitizer, or where there are no
/// large pages. Returns the bytes for which it asked.
TAVOLA_EXPORT std::size_t useLargeHeapPages(std::size_t bytes);
}
