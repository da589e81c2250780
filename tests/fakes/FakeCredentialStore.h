#pragma once

#include "platform/CredentialStore.h"

#include <map>
#include <set>
#include <string>

namespace velmora::test {

/// A store in memory, which refuses the operations it is told to.
class FakeCredentialStore final : public CredentialStore {
  public:
    CredentialStatus update(const CredentialName& name, const Secret& data, std::stop_token) override {
        const CredentialStatus status = answer("update", name);
        if (status == CredentialStatus::ok) items[name.account] = data.view();
        return status;
    }
    CredentialStatus add(const CredentialName& name, const Secret& data, std::stop_token) override {
        if (refuses.contains("add")) return CredentialStatus::refused;
        items[name.account] = data.view();
        return CredentialStatus::ok;
    }
    StoredCredential read(const CredentialName& name, std::stop_token) override {
        const CredentialStatus status = answer("read", name);
        if (status != CredentialStatus::ok) return {status, {}};
        return {status, Secret(items[name.account])};
    }
    CredentialStatus remove(const CredentialName& name, std::stop_token) override {
        const CredentialStatus status = answer("remove", name);
        if (status == CredentialStatus::ok) items.erase(name.account);
        return status;
    }

    std::map<std::string, std::string> items;  ///< by account
    std::set<std::string> refuses;             ///< names of operations

  private:
    [[nodiscard]] CredentialStatus answer(const std::string& operation, const CredentialName& name) const {
        if (refuses.contains(operation)) return CredentialStatus::refused;
        return items.contains(name.account) ? CredentialStatus::ok : CredentialStatus::notFound;
    }
};

}  // namespace velmora::test
