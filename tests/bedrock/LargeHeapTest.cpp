#include <Bedrock/LargeHeap.hpp>

#include <doctest/doctest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

namespace
{
constexpr std::size_t kAsked = std::size_t(8) << 20;
constexpr std::size_t kLargePage = std::size_t(2) << 20;

/// Whether the system was asked for large pages for a part of the heap.
bool hasLargeHeapPages()
{
    std::ifstream file("/proc/self/smaps");
    bool isHeap = false;
    for (std::string line; std::getline(file, line);) {
        if (line.find("[heap]") != std::string::npos)
            isHeap = true;
        else if (line.compare(0, 8, "VmFlags:") == 0) {
            if (isHeap && line.find(" hg") != std::string::npos)
                return true;
            isHeap = false; // the last line of a mapping
        }
    }
    return false;
}
}

TEST_CASE("large heap: the heap lies in large pages where the system was asked, and is memory as any other")
{
    const std::size_t bytes = Bedrock::useLargeHeapPages(kAsked);
    CHECK(bytes % kLargePage == 0);
    CHECK(bytes <= kAsked + kLargePage);
    CHECK(hasLargeHeapPages() == (bytes > 0));
    void* blocks[60];
    for (void*& block : blocks) {
        block = std::malloc(100000);
        REQUIRE(block);
        std::memset(block, 0x5a, 100000);
    }
    for (void* const block : blocks)
        std::free(block);
}

TEST_CASE("large heap: less than a large page is too little to ask for, and asking again is harmless")
{
    CHECK(Bedrock::useLargeHeapPages(100000) <= kLargePage);
    CHECK(Bedrock::useLargeHeapPages(0) <= kLargePage);
    CHECK(Bedrock::useLargeHeapPages(kAsked) <= kAsked + kLargePage);
}
