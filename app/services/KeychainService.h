#pragma once

#include "core/async/Async.h"
#include "platform/CredentialStore.h"

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

/// The program's one gateway to the secrets that the desktop keeps for it. Nothing is kept in between.
///
/// Runs on: any task; the operations run elsewhere, one at a time. Must outlive them, and the store must outlive this.
/// Fails with: `AppError` (permission), leaving the store as it is.
class KeychainService {
  public:
    static constexpr std::string_view service = "dev.velmora.brisklane";

    /// `workers`: threads that may wait until the user has unlocked the store.
    KeychainService(CredentialStore& store, const Executor& workers) : store_(store), actor_(workers) {}

    /// Stores `value`; an empty one removes what is stored. Fails with "Keychain access was denied." and "The secret
    /// could not be saved to Keychain."
    [[nodiscard]] Task<> set(Secret value, std::string account);

    /// Nothing when nothing is stored, or nothing that is text. Fails with "Keychain access was denied."
    [[nodiscard]] Task<std::optional<Secret>> get(std::string account);

    /// Removing what is not there is no failure. Fails with "The Keychain item could not be removed."
    [[nodiscard]] Task<> remove(std::string account);

  private:
    CredentialStore& store_;
    Actor actor_;
};

}  // namespace velmora
