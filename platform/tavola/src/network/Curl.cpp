#include <Tavola/Curl.hpp>

namespace Tavola
{
namespace
{
/// Initialised once, before threads use it.
struct InitialisedCurl : Curl
{
    InitialisedCurl() { curl_global_init(CURL_GLOBAL_DEFAULT); }
};
}

const Curl& curl()
{
    static const InitialisedCurl library;
    return library;
}
}
