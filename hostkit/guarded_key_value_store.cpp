#include "hostkit/guarded_key_value_store.hpp"

#include <utility>

namespace quendokit {

GuardedKeyValueStore::GuardedKeyValueStore(std::shared_ptr<NSUbiquitousKeyValueStore> store,
                                           SettingsGuardOptions options)
    : store_(std::move(store)), guard_(std::move(options)) {}

std::optional<PropertyValue> GuardedKeyValueStore::object(std::string_view key) const {
    return guard_.checked(key, store_->object(key));
}

void GuardedKeyValueStore::set(std::string_view key, PropertyValue value) {
    store_->set(key, std::move(value));
}

void GuardedKeyValueStore::remove(std::string_view key) {
    store_->remove(key);
}

bool GuardedKeyValueStore::synchronize() {
    return store_->synchronize();
}

}  // namespace quendokit
