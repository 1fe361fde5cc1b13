#pragma once
/// \file
/// The settings in memory as the suites of tests see them.

#include <memory>
#include <optional>
#include <string>

#include "testing/conformance/ubiquitous_key_value_store_conformance.hpp"
#include "testing/conformance/user_defaults_conformance.hpp"
#include "testing/in_memory_ubiquitous_store.hpp"
#include "testing/in_memory_user_defaults.hpp"

namespace quendokit::testing {

class InMemoryUserDefaultsFactory final : public UserDefaultsFactory {
public:
    [[nodiscard]] std::shared_ptr<UserDefaults> make() override { return std::make_shared<InMemoryUserDefaults>(); }
};

class InMemoryUbiquitousStoreFactory final : public UbiquitousKeyValueStoreFactory {
public:
    [[nodiscard]] std::shared_ptr<NSUbiquitousKeyValueStore> make() override { return store_; }
    [[nodiscard]] bool arrive(const std::string& key, const std::optional<PropertyValue>& value) override {
        store_->arrive({{key, value}});
        return true;
    }

private:
    const std::shared_ptr<InMemoryUbiquitousStore> store_ = std::make_shared<InMemoryUbiquitousStore>();
};

}  // namespace quendokit::testing
