#include "Bedrock/LargeHeap.hpp"

#include <cstdint>
#include <cstdlib>
#include <vector>

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

namespace Bedrock
{
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
namespace
{
/// Larger blocks are mapped by themselves.
constexpr std::size_t kBlockBytes = std::size_t(96) << 10;
/// Of the processors that tables have.
constexpr std::uintptr_t kLargePageBytes = std::uintptr_t(2) << 20;

std::uintptr_t addressOf(const void* place)
{
    return reinterpret_cast<std::uintptr_t>(place);
}
}

std::size_t useLargeHeapPages(std::size_t bytes)
{
    std::vector<void*> blocks(bytes / kBlockBytes + 2);
    for (void*& block : blocks)
        block = std::malloc(kBlockBytes);
    const std::uintptr_t begin = (addressOf(blocks.front()) + kLargePageBytes - 1) / kLargePageBytes * kLargePageBytes;
    const std::uintptr_t end = addressOf(blocks.back()) / kLargePageBytes * kLargePageBytes;
    const std::uintptr_t endOfHeap = addressOf(::sbrk(0));
    const bool isOnePiece = begin < end && end - begin <= bytes + kLargePageBytes && end <= endOfHeap;
    // What lies below a block in use does not go back to the system: a little of the last one stays.
    blocks.back() = std::realloc(blocks.back(), 1);
    blocks.pop_back();
    for (void* const block : blocks)
        std::free(block);
    // Gives back the small pages in which the blocks began: a large page comes only where there is none.
    ::malloc_trim(0);
    const bool isTaken = isOnePiece && ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE) == 0; // NOLINT
    return isTaken ? std::size_t(end - begin) : 0;
}
#else
std::size_t useLargeHeapPages(std::size_t)
{
    return 0; // these have allocators of their own
}
#endif
}
