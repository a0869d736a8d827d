#pragma once

#include <Bedrock/Export.hpp>

namespace Bedrock
{
/// A library of the system that a program uses seldom, and loads when it does: mapping it at the start, with all that it needs
/// itself, would take milliseconds. It stays loaded to the end of the program. Its functions are found by name:
///
///     struct Curl { LateLibrary library{"libcurl.so.4"}; decltype(&::curl_easy_init) curl_easy_init = library["curl_easy_init"];
///     };
///
/// Any thread. The first use takes as long as the start would have taken, so it does not belong on the main thread.
class TAVOLA_EXPORT LateLibrary
{
public:
    /// A function's address, of whatever type it is assigned to.
    struct Symbol
    {
        void* address;
        template <class Function>
        operator Function*() const noexcept
        {
            return reinterpret_cast<Function*>(address);
        }
    };

    /// Throws std::runtime_error with the loader's reason when there is no such library.
    explicit LateLibrary(const char* file);
    /// Throws std::runtime_error with the loader's reason when the library has no such function.
    [[nodiscard]] Symbol operator[](const char* name) const;

private:
    void* m_handle;
};
}
