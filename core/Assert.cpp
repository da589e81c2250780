#include "core/Assert.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace velmora {
namespace {

std::atomic<std::thread::id> mainThread;

}  // namespace

void setMainThread() noexcept {
    mainThread = std::this_thread::get_id();
}

bool onMainThread() noexcept {
    const std::thread::id known = mainThread;
    return known == std::thread::id{} || known == std::this_thread::get_id();
}

void assertionFailed(const char* condition, const char* file, int line) noexcept {
    std::fprintf(stderr, "%s:%d: this must hold: %s\n", file, line, condition);
    std::abort();
}

}  // namespace velmora
