#pragma once

#include <cstddef>

namespace Bedrock
{
/// Has the processor load so many bytes into its cache while it goes on, for code that reads them some hundred instructions
/// later: it then waits for several lines of memory at once, and not for one after the other. Any address; changes nothing of
/// what a program computes. Any thread.
inline void prefetch(const void* from, std::size_t bytes) noexcept
{
#ifdef __GNUC__
    constexpr std::size_t kLine = 64;
    for (std::size_t offset = 0; offset < bytes; offset += kLine)
        __builtin_prefetch(static_cast<const char*>(from) + offset);
#else
    (void)from;
    (void)bytes;
#endif
}
}
