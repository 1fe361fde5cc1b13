#include "apps/quendo/cloud/shared_day_plan.hpp"

#include <utility>

#include "adapters/files/file_user_defaults.hpp"
#include "quendokit/options/option_keys.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"
#include "quendokit/platform/user_defaults.hpp"

namespace quendo {

using quendokit::Error;
using quendokit::NSUbiquitousKeyValueStore;

SharedDayPlan::SharedDayPlan(const std::filesystem::path& copy, std::shared_ptr<quendokit::DispatchQueue> mainQueue,
                             std::function<void(const Error&)> onFailure)
    : copy_(std::make_shared<quendokit::FileUserDefaults>(
          quendokit::FileUserDefaultsOptions{copy, std::chrono::seconds(5), std::move(onFailure)})),
      store_(std::make_shared<quendokit::CloudKeyValueStore>(
          database_, copy_, [queue = std::move(mainQueue)] { queue->async([] {}); })) {}

void SharedDayPlan::begin(const std::shared_ptr<quendokit::CKDatabase>& database) {
    // Who listens when something comes.
    static_cast<void>(quendokit::Options::syncObserver());
    // A pass that has waited for the database goes on; else it is a new one.
    if (store_->isIdle()) {
        store_->synchronize();
    }
    database_->open(database);
}

void SharedDayPlan::forget() {
    copy_->remove(quendokit::keyValueCopyKey);
}

StoredDayPlan storedDayPlan() {
    StoredDayPlan plan;
    for (const std::string_view key : quendokit::OptionKeys::All) {
        if (auto value = quendokit::UserDefaults::standard().object(key)) {
            plan.emplace(key, *std::move(value));
        }
    }
    return plan;
}

void shareChangesSince(const StoredDayPlan& before) {
    for (auto& [key, value] : storedDayPlan()) {
        const auto old = before.find(key);
        if (old == before.end() || old->second != value) {
            NSUbiquitousKeyValueStore::defaultStore().set(key, value);
        }
    }
}

bool shareWhatIsOnlyHere() {
    bool isShared = false;
    auto& shared = NSUbiquitousKeyValueStore::defaultStore();
    for (auto& [key, value] : storedDayPlan()) {
        if (!shared.object(key)) {
            shared.set(key, value);
            isShared = true;
        }
    }
    return isShared;
}

}  // namespace quendo
