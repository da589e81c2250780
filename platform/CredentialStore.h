#pragma once

#include "core/text/Secret.h"

#include <optional>
#include <stop_token>
#include <string>

namespace velmora {

/// What the store answered.
enum class CredentialStatus {
    ok,
    notFound,  ///< it has no such item
    refused,   ///< everything else: the user or the store said no, or there was no answer in time
};

/// What an item is known by.
struct CredentialName {
    std::string service;
    std::string account;
};

/// What reading an item brought: data with `ok` alone, and not even then for certain.
struct StoredCredential {
    CredentialStatus status = CredentialStatus::refused;
    std::optional<Secret> data;
};

/// Where the desktop keeps the user's secrets.
///
/// Runs on: worker threads, one call at a time. A call returns within seconds, but while the user is asked to unlock
/// the store within minutes; and soon after its stop token says so. Fails with: nothing.
class CredentialStore {
  public:
    virtual ~CredentialStore() = default;

    /// Replaces the data of an item that is there.
    virtual CredentialStatus update(const CredentialName& name, const Secret& data, std::stop_token stop) = 0;

    /// Makes an item.
    virtual CredentialStatus add(const CredentialName& name, const Secret& data, std::stop_token stop) = 0;

    virtual StoredCredential read(const CredentialName& name, std::stop_token stop) = 0;

    /// Removes every item of that name.
    virtual CredentialStatus remove(const CredentialName& name, std::stop_token stop) = 0;
};

}  // namespace velmora
