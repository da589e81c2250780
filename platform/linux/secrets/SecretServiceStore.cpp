#include "platform/linux/secrets/SecretServiceStore.h"

#include "platform/linux/secrets/ServiceCalls.h"

#include <memory>
#include <string>
#include <utility>

namespace velmora {
namespace {

using secretservice::Object;
using secretservice::ServiceCalls;

struct FreeTable {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
struct FreeItems {
    void operator()(GList* items) const { g_list_free_full(items, g_object_unref); }
};
struct UnrefValue {
    void operator()(SecretValue* value) const { secret_value_unref(value); }
};
using Attributes = std::unique_ptr<GHashTable, FreeTable>;
using Items = std::unique_ptr<GList, FreeItems>;
using Value = std::unique_ptr<SecretValue, UnrefValue>;

/// The name of the schema is not asked for: items that other tools made with the same attributes are found as well.
const SecretSchema& schema() {
    static const SecretSchema made = [] {
        SecretSchema described{};
        described.name = "dev.velmora.brisklane.Credential";
        described.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
        described.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        described.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return described;
    }();
    return made;
}

Attributes attributesOf(const CredentialName& name) {
    return Attributes(
        secret_attributes_build(&schema(), "service", name.service.c_str(), "account", name.account.c_str(), nullptr));
}

/// In memory that the library keeps from the swap and wipes.
Value valueOf(const Secret& data) {
    return Value(secret_value_new(data.view().data(), static_cast<gssize>(data.view().size()), "text/plain"));
}

/// One operation: the calls it makes, and what it looks for.
struct Operation {
    Operation(const SecretServiceStore::Timeouts& timeouts, const CredentialName& name, std::stop_token stop,
              std::stop_token ending)
        : calls(timeouts.answer, timeouts.question, std::move(stop), std::move(ending)),
          attributes(attributesOf(name)),
          service(calls.open()) {}

    /// The items of the name, unlocked where the user let them be; all of them, or the one that is easiest to read.
    CredentialStatus search(SecretSearchFlags which) {
        if (!service || !attributes) return CredentialStatus::refused;
        // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange): flags of C
        const auto flags = static_cast<SecretSearchFlags>(which | SECRET_SEARCH_UNLOCK | SECRET_SEARCH_LOAD_SECRETS);
        const auto result = calls.await(
            [&](auto... call) { secret_service_search(service.get(), &schema(), attributes.get(), flags, call...); });
        GError* failure = nullptr;
        if (!result) return CredentialStatus::refused;
        items.reset(secret_service_search_finish(service.get(), result.get(), &failure));
        const bool failed = failure != nullptr;
        g_clear_error(&failure);
        if (failed) return CredentialStatus::refused;
        return items ? CredentialStatus::ok : CredentialStatus::notFound;
    }

    [[nodiscard]] SecretItem* first() const { return SECRET_ITEM(items->data); }

    ServiceCalls calls;
    const Attributes attributes;
    const Object<SecretService> service;
    Items items;
};

CredentialStatus statusOf(gboolean succeeded) {
    return succeeded ? CredentialStatus::ok : CredentialStatus::refused;
}

}  // namespace

CredentialStatus SecretServiceStore::update(const CredentialName& name, const Secret& data, std::stop_token stop) {
    Operation operation(timeouts_, name, std::move(stop), ending_.get_token());
    const CredentialStatus found = operation.search(SECRET_SEARCH_NONE);
    if (found != CredentialStatus::ok) return found;
    const Value value = valueOf(data);
    const auto result =
        operation.calls.await([&](auto... call) { secret_item_set_secret(operation.first(), value.get(), call...); });
    return statusOf(result && secret_item_set_secret_finish(operation.first(), result.get(), nullptr));
}

CredentialStatus SecretServiceStore::add(const CredentialName& name, const Secret& data, std::stop_token stop) {
    Operation operation(timeouts_, name, std::move(stop), ending_.get_token());
    if (!operation.service || !operation.attributes) return CredentialStatus::refused;
    const Value value = valueOf(data);
    const std::string label = "Velmora: " + name.account;
    const auto result = operation.calls.await([&](auto... call) {
        secret_service_store(operation.service.get(), &schema(), operation.attributes.get(), SECRET_COLLECTION_DEFAULT,
                             label.c_str(), value.get(), call...);
    });
    return statusOf(result && secret_service_store_finish(operation.service.get(), result.get(), nullptr));
}

StoredCredential SecretServiceStore::read(const CredentialName& name, std::stop_token stop) {
    Operation operation(timeouts_, name, std::move(stop), ending_.get_token());
    const CredentialStatus found = operation.search(SECRET_SEARCH_NONE);
    if (found != CredentialStatus::ok) return {found, {}};
    // A locked item has none.
    const Value value(secret_item_get_secret(operation.first()));
    if (!value) return {};
    gsize size = 0;
    const gchar* const bytes = secret_value_get(value.get(), &size);
    return {CredentialStatus::ok, Secret({bytes, size})};
}

CredentialStatus SecretServiceStore::remove(const CredentialName& name, std::stop_token stop) {
    Operation operation(timeouts_, name, std::move(stop), ending_.get_token());
    CredentialStatus status = operation.search(SECRET_SEARCH_ALL);
    for (const GList* item = operation.items.get(); item && status == CredentialStatus::ok; item = item->next) {
        const auto result =
            operation.calls.await([&](auto... call) { secret_item_delete(SECRET_ITEM(item->data), call...); });
        status = statusOf(result && secret_item_delete_finish(SECRET_ITEM(item->data), result.get(), nullptr));
    }
    return status;
}

}  // namespace velmora
