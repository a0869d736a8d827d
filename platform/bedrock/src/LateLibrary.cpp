#include "Bedrock/LateLibrary.hpp"

#include <stdexcept>
#include <string>

#include <dlfcn.h>

namespace Bedrock
{
namespace
{
[[noreturn]] void fail()
{
    const char* const reason = ::dlerror();
    throw std::runtime_error(reason ? reason : "a library cannot be used, for an unknown reason");
}
}

LateLibrary::LateLibrary(const char* file) : m_handle(::dlopen(file, RTLD_LAZY | RTLD_LOCAL))
{
    if (!m_handle)
        fail();
}

LateLibrary::Symbol LateLibrary::operator[](const char* name) const
{
    void* const address = ::dlsym(m_handle, name);
    if (!address)
        fail();
    return {address};
}
}
