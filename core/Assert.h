#pragma once

namespace velmora {

/// Declares the calling thread to be the main thread; `VELMORA_ASSERT_MAIN` checks against it.
/// Call once, before the first main-thread class is made.
void setMainThread() noexcept;

/// True on the thread that called `setMainThread`, and everywhere while none has.
bool onMainThread() noexcept;

/// Prints where a bug showed itself and aborts. For bugs only, never for input.
[[noreturn]] void assertionFailed(const char* condition, const char* file, int line) noexcept;

}  // namespace velmora

#ifdef VELMORA_CHECKS
#define VELMORA_ASSERT(condition) \
    ((condition) ? static_cast<void>(0) : ::velmora::assertionFailed(#condition, __FILE__, __LINE__))
#else
#define VELMORA_ASSERT(condition) static_cast<void>(0)
#endif
#define VELMORA_ASSERT_MAIN() VELMORA_ASSERT(::velmora::onMainThread())
