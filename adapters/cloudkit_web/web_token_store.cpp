#include "adapters/cloudkit_web/web_token_store.hpp"

#include <utility>

namespace quendokit {

SettingsWebTokenStore::SettingsWebTokenStore(std::shared_ptr<UserDefaults> settings) : settings_(std::move(settings)) {}

std::optional<std::string> SettingsWebTokenStore::webToken() const {
    auto value = settings_->object(webTokenKey);
    auto* token = value ? std::get_if<std::string>(&*value) : nullptr;
    return token != nullptr && !token->empty() ? std::optional(std::move(*token)) : std::nullopt;
}

void SettingsWebTokenStore::keep(const std::string& token) {
    settings_->set(webTokenKey, token);
}

}  // namespace quendokit
