#include "app/services/KeychainService.h"

#include "app/log/AppLog.h"
#include "core/AppError.h"
#include "core/text/Text.h"

#include <utility>

namespace velmora {
namespace {

constexpr const char* denied = "Keychain access was denied.";

void check(CredentialStatus status, const char* sentence) {
    if (status == CredentialStatus::ok) return;
    AppLog::app.error("The credential store refused or did not answer");
    throw AppError::permission(sentence);
}

}  // namespace

Task<> KeychainService::set(Secret value, std::string account) {
    if (value.empty()) {
        co_await remove(std::move(account));
        co_return;
    }
    const CredentialName name{std::string(service), std::move(account)};
    const auto save = [&](const std::stop_token& stop) {
        const CredentialStatus updated = store_.update(name, value, stop);
        if (updated != CredentialStatus::notFound) return check(updated, denied);
        check(store_.add(name, value, stop), "The secret could not be saved to Keychain.");
    };
    co_await actor_.run(save);
}

Task<std::optional<Secret>> KeychainService::get(std::string account) {
    const CredentialName name{std::string(service), std::move(account)};
    const auto read = [&](const std::stop_token& stop) -> std::optional<Secret> {
        StoredCredential stored = store_.read(name, stop);
        if (stored.status == CredentialStatus::notFound) return std::nullopt;
        check(stored.data ? stored.status : CredentialStatus::refused, denied);
        if (!text::isUtf8(stored.data->view())) return std::nullopt;
        return std::move(stored.data);
    };
    co_return co_await actor_.run(read);
}

Task<> KeychainService::remove(std::string account) {
    const CredentialName name{std::string(service), std::move(account)};
    const auto removeAll = [&](const std::stop_token& stop) {
        const CredentialStatus status = store_.remove(name, stop);
        if (status != CredentialStatus::notFound) check(status, "The Keychain item could not be removed.");
    };
    co_await actor_.run(removeAll);
}

}  // namespace velmora
