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

/// Of the part of the heap for which the system was asked for large pages: kilobytes in memory. Negative when there is none.
int largeHeapKilobytes()
{
    std::ifstream file("/proc/self/smaps");
    bool isHeap = false;
    int kilobytes = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.find("[heap]") != std::string::npos)
            isHeap = true;
        else if (line.compare(0, 4, "Rss:") == 0)
            kilobytes = std::stoi(line.substr(4));
        else if (line.compare(0, 8, "VmFlags:") == 0) { // the last line of a mapping
            if (isHeap && line.find(" hg") != std::string::npos)
                return kilobytes;
            isHeap = false;
        }
    }
    return -1;
}
}

TEST_CASE("large heap: the heap lies in large pages where the system was asked, and is memory as any other")
{
    const std::size_t bytes = Bedrock::useLargeHeapPages(kAsked);
    CHECK(bytes % kLargePage == 0);
    CHECK(bytes <= kAsked + kLargePage);
    const int kilobytes = largeHeapKilobytes();
    CHECK((kilobytes >= 0) == (bytes > 0));
    // Small pages that are there already would keep large ones out. Reading the file may have brought a few of either.
    CHECK((kilobytes % 2048 <= 100));
    void* blocks[60];
    for (void*& block : blocks) {
        block = std::malloc(100000);
        REQUIRE(block);
        std::memset(block, 0x5a, 100000);
    }
    for (void* const block : blocks)
        std::free(block);
    // Asked again, in one test: what a call finds depends on those before it.
    CHECK(Bedrock::useLargeHeapPages(100000) <= kLargePage);
    CHECK(Bedrock::useLargeHeapPages(0) <= kLargePage);
    CHECK(Bedrock::useLargeHeapPages(kAsked) <= kAsked + kLargePage);
}
