#include "apps/quendo/daemon/client_language.hpp"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "adapters/event_loop/process_notification_center.hpp"
#include "adapters/gettext/gettext_bundle_provider.hpp"
#include "adapters/icu/icu_locale.hpp"
#include "adapters/linux/offline_key_value_store.hpp"
#include "apps/quendo/locale_folder.hpp"
#include "quendokit/options/option_keys.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/presets/preset_controller.hpp"

namespace quendo {

/// Settings as another process has told them.
class ClientLanguage::Plan final : public quendokit::UserDefaults {
public:
    [[nodiscard]] std::optional<quendokit::PropertyValue> object(std::string_view key) const override {
        const auto found = values_.find(key);
        return found == values_.end() ? std::nullopt : std::optional(found->second);
    }
    void set(std::string_view key, quendokit::PropertyValue value) override {
        values_.insert_or_assign(std::string(key), std::move(value));
    }
    void remove(std::string_view key) override { values_.erase(std::string(key)); }

private:
    std::map<std::string, quendokit::PropertyValue, std::less<>> values_;
};

namespace {

quendokit::platform::Services servicesOfWords(std::shared_ptr<quendokit::UserDefaults> plan) {
    constexpr const char* bundle = "quendokit";
    quendokit::platform::Services services;
    services.locale = std::make_shared<quendokit::ICULocale>();
    services.bundleProvider = std::make_shared<quendokit::GettextBundleProvider>(bundle, findLocaleFolder());
    services.FrameworkBundleIdentifier = bundle;
    services.userDefaults = std::move(plan);
    services.ubiquitousKeyValueStore = std::make_shared<quendokit::OfflineKeyValueStore>();
    services.notificationCenter = std::make_shared<quendokit::ProcessNotificationCenter>();
    return services;
}

}  // namespace

ClientLanguage::ClientLanguage() : ClientLanguage(std::make_shared<Plan>()) {}

ClientLanguage::ClientLanguage(std::shared_ptr<Plan> plan)
    : plan_(std::move(plan)), services_(servicesOfWords(plan_)) {}

void ClientLanguage::translate(PresetsView& view) const {
    const auto presets = quendokit::PresetController().presets();
    for (std::size_t i = 0; i < std::min(presets.size(), view.presets.size()); ++i) {
        view.presets[i].name = presets[i].name;
    }
}

void ClientLanguage::translate(std::vector<ActionView>& views, const OptionsView& plan) const {
    plan_->set(quendokit::OptionKeys::Later, plan.later);
    plan_->set(quendokit::OptionKeys::Postpone, plan.postpone);
    views = viewActions();
}

}  // namespace quendo
