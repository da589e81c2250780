#include "platform/linux/http/CurlLibrary.h"

#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace velmora {
namespace {

// NOLINTBEGIN(cppcoreguidelines-owning-memory): it is C's own memory
void giveBack(void* memory) {
    if (memory) explicit_bzero(memory, malloc_usable_size(memory));
    std::free(memory);
}

/// The C library's own might leave the former bytes where they were.
void* resize(void* memory, std::size_t size) {
    void* const larger = std::malloc(size);
    if (!larger) return nullptr;
    if (memory) std::memcpy(larger, memory, std::min(size, malloc_usable_size(memory)));
    giveBack(memory);
    return larger;
}
// NOLINTEND(cppcoreguidelines-owning-memory)

template <class Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

std::optional<CurlLibrary> loaded() {
    void* const library = dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL);
    CurlLibrary curl{};
    const bool isWhole =
        library && find(library, "curl_global_init_mem", curl.global_init_mem) &&
        find(library, "curl_easy_init", curl.easy_init) && find(library, "curl_easy_setopt", curl.easy_setopt) &&
        find(library, "curl_easy_getinfo", curl.easy_getinfo) &&
        find(library, "curl_easy_cleanup", curl.easy_cleanup) && find(library, "curl_multi_init", curl.multi_init) &&
        find(library, "curl_multi_add_handle", curl.multi_add_handle) &&
        find(library, "curl_multi_remove_handle", curl.multi_remove_handle) &&
        find(library, "curl_multi_perform", curl.multi_perform) &&
        find(library, "curl_multi_info_read", curl.multi_info_read) &&
        find(library, "curl_multi_poll", curl.multi_poll) && find(library, "curl_multi_wakeup", curl.multi_wakeup) &&
        find(library, "curl_multi_cleanup", curl.multi_cleanup);
    if (!isWhole) return std::nullopt;
    const CURLcode failure =
        curl.global_init_mem(CURL_GLOBAL_DEFAULT, std::malloc, giveBack, resize, strdup, std::calloc);
    return failure == CURLE_OK ? std::optional(curl) : std::nullopt;
}

}  // namespace

const CurlLibrary* CurlLibrary::load() {
    static const std::optional<CurlLibrary> curl = loaded();
    return curl ? &*curl : nullptr;
}

}  // namespace velmora
