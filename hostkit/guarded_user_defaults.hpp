#pragma once
/// \file
/// `GuardedUserDefaults`, settings without the values that would end the process.

#include <memory>
#include <optional>
#include <string_view>

#include "hostkit/settings_guard.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/user_defaults.hpp"

namespace quendokit {

/// Passes everything on to other settings, and hides from reads what `SettingsGuard` says. Any
/// thread.
class QUENDOKIT_EXPORT GuardedUserDefaults final : public UserDefaults {
public:
    /// Shares `defaults`.
    GuardedUserDefaults(std::shared_ptr<UserDefaults> defaults, SettingsGuardOptions options);

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override;
    void set(std::string_view key, PropertyValue value) override;
    void remove(std::string_view key) override;

private:
    const std::shared_ptr<UserDefaults> defaults_;
    mutable SettingsGuard guard_;
};

}  // namespace quendokit
