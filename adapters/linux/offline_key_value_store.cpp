#include "adapters/linux/offline_key_value_store.hpp"

#include <utility>

namespace quendokit {

std::optional<PropertyValue> OfflineKeyValueStore::object(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    return found != values_.end() ? std::optional(found->second) : std::nullopt;
}

void OfflineKeyValueStore::set(std::string_view key, PropertyValue value) {
    const std::lock_guard lock(mutex_);
    values_.insert_or_assign(std::string(key), std::move(value));
}

void OfflineKeyValueStore::remove(std::string_view key) {
    const std::lock_guard lock(mutex_);
    if (const auto found = values_.find(key); found != values_.end()) {
        values_.erase(found);
    }
}

}  // namespace quendokit
