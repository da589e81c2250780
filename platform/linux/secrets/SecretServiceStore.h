#pragma once

#include "platform/CredentialStore.h"

#include <chrono>

namespace velmora {

/// The Secret Service of the session: GNOME Keyring, KWallet, KeePassXC. Items have the attributes "service" and
/// "account"; new ones go to the default collection.
///
/// What is locked is unlocked by the service, which asks the user; a question that is dismissed is a refusal. A service
/// that is absent, keeps silent or goes away is one too. Every call finds the service anew.
class SecretServiceStore final : public CredentialStore {
  public:
    struct Timeouts {
        std::chrono::milliseconds answer{5'000};      ///< for all answers of the service together
        std::chrono::milliseconds question{120'000};  ///< for the user to answer the service
    };

    explicit SecretServiceStore(Timeouts timeouts) : timeouts_(timeouts) {}

    CredentialStatus update(const CredentialName& name, const Secret& data, std::stop_token stop) override;
    CredentialStatus add(const CredentialName& name, const Secret& data, std::stop_token stop) override;
    StoredCredential read(const CredentialName& name, std::stop_token stop) override;
    CredentialStatus remove(const CredentialName& name, std::stop_token stop) override;

    /// Ends what is waited for; whatever is asked now or later is refused.
    void stop() { ending_.request_stop(); }

  private:
    Timeouts timeouts_;
    std::stop_source ending_;
};

}  // namespace velmora
