// Linked into programs whose rows take time: they begin as the table's program does, with a heap in large pages.

#include <Bedrock/LargeHeap.hpp>

namespace
{
[[maybe_unused]] const std::size_t kLargeHeap = Bedrock::useLargeHeapPages(std::size_t(8) << 20);
}
