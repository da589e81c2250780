#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace velmora {

/// A text that is not to be left behind anywhere: nothing copies it by accident, moving it moves no bytes, and its
/// memory is wiped when it goes. Never log it or put it into a `std::string` that outlives a call.
///
/// Runs on: any thread.
class Secret {
  public:
    Secret() = default;
    /// A copy of `text` with `rest` behind it; whoever has them wipes them himself.
    explicit Secret(std::string_view text, std::string_view rest = {});
    ~Secret();
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&& other) noexcept;

    [[nodiscard]] std::string_view view() const { return {text_.get(), size_}; }
    [[nodiscard]] bool empty() const { return size_ == 0; }

    /// With a NUL behind it, for interfaces of C; null when empty.
    [[nodiscard]] char* data() { return text_.get(); }

  private:
    std::unique_ptr<char[]> text_;
    std::size_t size_ = 0;
};

/// Sets what is to happen when the process begins to hold secrets and when it holds none any more. It is called by one
/// thread at a time, whichever. Call once at start-up.
void setSecretsHeld(void (*handler)(bool held) noexcept);

}  // namespace velmora
