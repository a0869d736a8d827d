#include "AllocationCounter.hpp"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<long> g_allocations{0};
}

long FacetTest::allocations()
{
    return g_allocations;
}

// Replacing these two is enough: the array and nothrow forms call them.
void* operator new(std::size_t size)
{
    ++g_allocations;
    if (void* memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
