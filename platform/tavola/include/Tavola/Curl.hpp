#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/LateLibrary.hpp>

#include <curl/curl.h>

namespace Tavola
{
/// The functions of libcurl that a table uses, under their own names; see curl().
struct Curl
{
    Bedrock::LateLibrary library{"libcurl.so.4"};
    decltype(&::curl_global_init) curl_global_init = library["curl_global_init"];
    decltype(&::curl_easy_init) curl_easy_init = library["curl_easy_init"];
    decltype(&::curl_easy_cleanup) curl_easy_cleanup = library["curl_easy_cleanup"];
    decltype(&::curl_easy_setopt) curl_easy_setopt = library["curl_easy_setopt"];
    decltype(&::curl_easy_getinfo) curl_easy_getinfo = library["curl_easy_getinfo"];
    decltype(&::curl_easy_perform) curl_easy_perform = library["curl_easy_perform"];
    decltype(&::curl_easy_strerror) curl_easy_strerror = library["curl_easy_strerror"];
    decltype(&::curl_multi_init) curl_multi_init = library["curl_multi_init"];
    decltype(&::curl_multi_cleanup) curl_multi_cleanup = library["curl_multi_cleanup"];
    decltype(&::curl_multi_add_handle) curl_multi_add_handle = library["curl_multi_add_handle"];
    decltype(&::curl_multi_remove_handle) curl_multi_remove_handle = library["curl_multi_remove_handle"];
    decltype(&::curl_multi_info_read) curl_multi_info_read = library["curl_multi_info_read"];
    decltype(&::curl_multi_perform) curl_multi_perform = library["curl_multi_perform"];
    decltype(&::curl_multi_poll) curl_multi_poll = library["curl_multi_poll"];
    decltype(&::curl_multi_wakeup) curl_multi_wakeup = library["curl_multi_wakeup"];
    decltype(&::curl_slist_append) curl_slist_append = library["curl_slist_append"];
    decltype(&::curl_slist_free_all) curl_slist_free_all = library["curl_slist_free_all"];
};

/// libcurl, loaded and initialised by the first call, which takes some milliseconds: not on the main thread. Any thread.
/// Throws std::runtime_error with the loader's reason when it is not installed.
[[nodiscard]] TAVOLA_EXPORT const Curl& curl();

/// Ends what libcurl made, for std::unique_ptr.
struct CurlDelete
{
    void operator()(CURL* handle) const { curl().curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl().curl_slist_free_all(list); }
};
}
