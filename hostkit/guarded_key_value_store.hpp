#pragma once
/// \file
/// `GuardedKeyValueStore`, shared settings without the values that would end the process.

#include <memory>
#include <optional>
#include <string_view>

#include "hostkit/settings_guard.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"

namespace quendokit {

/// Passes everything on to another store, and hides from reads what `SettingsGuard` says, so that it is not copied into
/// the settings of this device. Any thread.
class QUENDOKIT_EXPORT GuardedKeyValueStore final : public NSUbiquitousKeyValueStore {
public:
    /// Shares `store`.
    GuardedKeyValueStore(std::shared_ptr<NSUbiquitousKeyValueStore> store, SettingsGuardOptions options);

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override;
    void set(std::string_view key, PropertyValue value) override;
    void remove(std::string_view key) override;
    bool synchronize() override;

private:
    const std::shared_ptr<NSUbiquitousKeyValueStore> store_;
    mutable SettingsGuard guard_;
};

}  // namespace quendokit
