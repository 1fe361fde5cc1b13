#include "hostkit/guarded_user_defaults.hpp"

#include <utility>

namespace quendokit {

GuardedUserDefaults::GuardedUserDefaults(std::shared_ptr<UserDefaults> defaults, SettingsGuardOptions options)
    : defaults_(std::move(defaults)), guard_(std::move(options)) {}

std::optional<PropertyValue> GuardedUserDefaults::object(std::string_view key) const {
    return guard_.checked(key, defaults_->object(key));
}

void GuardedUserDefaults::set(std::string_view key, PropertyValue value) {
    defaults_->set(key, std::move(value));
}

void GuardedUserDefaults::remove(std::string_view key) {
    defaults_->remove(key);
}

}  // namespace quendokit
