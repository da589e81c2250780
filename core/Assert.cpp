#include "core/Assert.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace velmora {
namespace {

// Its address tells the threads apart.
thread_local const char self = 0;
std::atomic<const char*> mainThread = nullptr;

}  // namespace

void setMainThread() noexcept {
    mainThread = &self;
}

bool onMainThread() noexcept {
    const char* const known = mainThread;
    return !known || known == &self;
}

void assertionFailed(const char* condition, const char* file, int line) noexcept {
    std::fprintf(stderr, "%s:%d: this must hold: %s\n", file, line, condition);
    std::abort();
}

}  // namespace velmora
