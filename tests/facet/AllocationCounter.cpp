#include "AllocationCounter.hpp"

#include <atomic>
#include <cstdlib>
#include <new>

#include <malloc.h>

namespace
{
std::atomic<long> g_allocations{0};
std::atomic<long> g_bytes{0};

/// What a block takes from the heap: its room and its header.
long sizeOf(void* memory)
{
    return memory ? long(malloc_usable_size(memory) + sizeof(std::size_t)) : 0;
}

void* counted(void* memory)
{
    ++g_allocations;
    g_bytes += sizeOf(memory);
    return memory;
}

void release(void* memory)
{
    g_bytes -= sizeOf(memory);
    std::free(memory);
}
}

long FacetTest::allocations()
{
    return g_allocations;
}

long FacetTest::bytesInUse()
{
    return g_bytes;
}

// All plain forms: the address sanitizer brings its own of those left out, which do not go together with these.
void* operator new(std::size_t size)
{
    if (void* memory = std::malloc(size ? size : 1))
        return counted(memory);
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return counted(std::malloc(size ? size : 1));
}

void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept
{
    return operator new(size, nothrow);
}

void operator delete(void* memory) noexcept
{
    release(memory);
}

void operator delete[](void* memory) noexcept
{
    release(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    release(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    release(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    release(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    release(memory);
}
