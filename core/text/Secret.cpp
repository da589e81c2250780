#include "core/text/Secret.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace velmora {
namespace {

std::mutex mutex;
std::size_t held = 0;
void (*onHeld)(bool) noexcept = nullptr;

void begin() {
    const std::lock_guard lock(mutex);
    if (held++ == 0 && onHeld) onHeld(true);
}

void end() {
    const std::lock_guard lock(mutex);
    if (--held == 0 && onHeld) onHeld(false);
}

/// Written as the compiler must: it would leave out what nobody reads again.
void wipe(volatile char* bytes, std::size_t size) noexcept {
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = 0;
}

}  // namespace

void setSecretsHeld(void (*handler)(bool held) noexcept) {
    const std::lock_guard lock(mutex);
    onHeld = handler;
    if (held > 0 && onHeld) onHeld(true);
}

Secret::Secret(std::string_view text, std::string_view rest) : size_(text.size() + rest.size()) {
    if (size_ == 0) return;
    begin();
    text_ = std::make_unique<char[]>(size_ + 1);
    std::ranges::copy(rest, std::ranges::copy(text, text_.get()).out);
}

Secret::~Secret() {
    if (size_ == 0) return;
    wipe(text_.get(), size_);
    end();
}

Secret::Secret(Secret&& other) noexcept : text_(std::move(other.text_)), size_(std::exchange(other.size_, 0)) {}

Secret& Secret::operator=(Secret&& other) noexcept {
    Secret former(std::move(other));
    std::swap(text_, former.text_);
    std::swap(size_, former.size_);
    return *this;
}

}  // namespace velmora
