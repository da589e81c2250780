#pragma once

#include <curl/curl.h>

namespace velmora {

/// The functions of libcurl that are used, less the prefix "curl_".
///
/// The library is loaded with the first request: with those that it needs itself it takes milliseconds and megabytes,
/// which the program should not pay for at each start. What it has had in memory is wiped when it gives it back.
struct CurlLibrary {
    /// The loaded library; null where there is none that works. Runs on: any thread.
    static const CurlLibrary* load();

    decltype(&curl_global_init_mem) global_init_mem;
    decltype(&curl_easy_init) easy_init;
    decltype(&curl_easy_setopt) easy_setopt;
    decltype(&curl_easy_getinfo) easy_getinfo;
    decltype(&curl_easy_cleanup) easy_cleanup;
    decltype(&curl_multi_init) multi_init;
    decltype(&curl_multi_add_handle) multi_add_handle;
    decltype(&curl_multi_remove_handle) multi_remove_handle;
    decltype(&curl_multi_perform) multi_perform;
    decltype(&curl_multi_info_read) multi_info_read;
    decltype(&curl_multi_poll) multi_poll;
    decltype(&curl_multi_wakeup) multi_wakeup;
    decltype(&curl_multi_cleanup) multi_cleanup;
};

}  // namespace velmora
