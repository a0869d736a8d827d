#include "Memory.hpp"

#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace
{
std::atomic<long> g_bytes{0};
std::atomic<long> g_allocations{0};

void* given(void* memory)
{
    if (memory) {
        g_bytes.fetch_add(long(malloc_usable_size(memory)), std::memory_order_relaxed);
        g_allocations.fetch_add(1, std::memory_order_relaxed);
    }
    return memory;
}

void taken(void* memory)
{
    if (memory)
        g_bytes.fetch_sub(long(malloc_usable_size(memory)), std::memory_order_relaxed);
}
}

long Bench::bytesInUse()
{
    return g_bytes.load(std::memory_order_relaxed);
}

long Bench::allocations()
{
    return g_allocations.load(std::memory_order_relaxed);
}

// The names that the C library keeps for programs that replace its allocator's functions.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);

__attribute__((visibility("default"))) void* malloc(std::size_t size)
{
    return given(__libc_malloc(size));
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size)
{
    return given(__libc_calloc(count, size));
}

__attribute__((visibility("default"))) void* realloc(void* memory, std::size_t size)
{
    const long before = memory ? long(malloc_usable_size(memory)) : 0;
    void* moved = __libc_realloc(memory, size);
    if (moved || size == 0)
        g_bytes.fetch_sub(before, std::memory_order_relaxed);
    return given(moved);
}

__attribute__((visibility("default"))) void* memalign(std::size_t alignment, std::size_t size)
{
    return given(__libc_memalign(alignment, size));
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return given(__libc_memalign(alignment, size));
}

__attribute__((visibility("default"))) int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    *memory = given(__libc_memalign(alignment, size));
    return *memory ? 0 : ENOMEM;
}

__attribute__((visibility("default"))) void free(void* memory)
{
    taken(memory);
    __libc_free(memory);
}
}
