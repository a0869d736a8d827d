#pragma once

#include <Bedrock/Trace.hpp>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// What the fuzzers share.
namespace Fuzz
{
/// Ends the run, so that the input is kept, when a promise does not hold.
inline void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken promise: %s\n", what);
    std::abort();
}

/// From now on: there would be gigabytes.
inline void dropMessages()
{
    (void)Bedrock::Trace::setSink(
        [](Bedrock::Trace::Level, const std::string& text) { require(!text.empty(), "a message says something"); });
}

/// A file in memory, whose content is replaced for each input.
class MemoryFile
{
public:
    MemoryFile() : m_descriptor(memfd_create("fuzz", 0)), m_path("/proc/self/fd/" + std::to_string(m_descriptor))
    {
        require(m_descriptor >= 0, "there is memory for a file");
    }
    [[nodiscard]] const std::string& path() const noexcept { return m_path; }

    void write(const void* data, std::size_t size) const
    {
        require(ftruncate(m_descriptor, 0) == 0 && pwrite(m_descriptor, data, size, 0) == static_cast<ssize_t>(size),
                "the file in memory is written");
    }

private:
    int m_descriptor;
    std::string m_path;
};
}
