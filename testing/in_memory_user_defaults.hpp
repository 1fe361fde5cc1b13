#pragma once
/// \file
/// `InMemoryUserDefaults`, settings that are gone with their owner.

#include <utility>

#include "quendokit/platform/user_defaults.hpp"
#include "testing/in_memory_properties.hpp"

namespace quendokit::testing {

/// Any thread.
class InMemoryUserDefaults final : public UserDefaults, public InMemoryProperties {
public:
    InMemoryUserDefaults() = default;
    /// Holds `values` from the beginning, as settings of an earlier run.
    explicit InMemoryUserDefaults(Values values) : InMemoryProperties(std::move(values)) {}

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override { return countedRead(key); }
    void set(std::string_view key, PropertyValue value) override { countedSet(key, std::move(value)); }
    void remove(std::string_view key) override { countedRemove(key); }
};

}  // namespace quendokit::testing
