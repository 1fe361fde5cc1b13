#include "testing/in_memory_properties.hpp"

#include <utility>

namespace quendokit::testing {

InMemoryProperties::InMemoryProperties(Values values) : values_(std::move(values)) {}

template <typename Kind>
std::optional<Kind> InMemoryProperties::valueOf(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    const Kind* value = found == values_.end() ? nullptr : std::get_if<Kind>(&found->second);
    return value == nullptr ? std::nullopt : std::optional<Kind>(*value);
}

std::optional<std::int64_t> InMemoryProperties::integer(std::string_view key) const {
    return valueOf<std::int64_t>(key);
}

std::optional<double> InMemoryProperties::number(std::string_view key) const {
    return valueOf<double>(key);
}

std::optional<bool> InMemoryProperties::boolean(std::string_view key) const {
    return valueOf<bool>(key);
}

std::optional<std::string> InMemoryProperties::text(std::string_view key) const {
    return valueOf<std::string>(key);
}

std::optional<std::vector<std::byte>> InMemoryProperties::bytes(std::string_view key) const {
    return valueOf<std::vector<std::byte>>(key);
}

bool InMemoryProperties::contains(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    return values_.contains(key);
}

std::vector<std::string> InMemoryProperties::keys() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> keys;
    for (const auto& [key, value] : values_) {
        keys.push_back(key);
    }
    return keys;
}

InMemoryProperties::Values InMemoryProperties::values() const {
    const std::lock_guard lock(mutex_);
    return values_;
}

std::size_t InMemoryProperties::writeCount() const {
    const std::lock_guard lock(mutex_);
    return writeCount_;
}

std::size_t InMemoryProperties::readCount() const {
    const std::lock_guard lock(mutex_);
    return readCount_;
}

std::optional<PropertyValue> InMemoryProperties::countedRead(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    ++readCount_;
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

void InMemoryProperties::countedSet(std::string_view key, PropertyValue value) {
    const std::lock_guard lock(mutex_);
    ++writeCount_;
    values_.insert_or_assign(std::string(key), std::move(value));
}

void InMemoryProperties::countedRemove(std::string_view key) {
    const std::lock_guard lock(mutex_);
    ++writeCount_;
    const auto found = values_.find(key);
    if (found != values_.end()) {
        values_.erase(found);
    }
}

void InMemoryProperties::change(const std::map<std::string, std::optional<PropertyValue>, std::less<>>& changes) {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, value] : changes) {
        if (value) {
            values_.insert_or_assign(key, *value);
        } else {
            values_.erase(key);
        }
    }
}

}  // namespace quendokit::testing
