#include "MailLibrary.hpp"

namespace Host
{
namespace
{
struct InitialisedLibrary : MailLibrary
{
    InitialisedLibrary() { g_mime_init(); }
};
}

const MailLibrary& gmime()
{
    static const InitialisedLibrary library;
    return library;
}
}
