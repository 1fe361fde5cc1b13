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

namespace {

// Stored format, beside the copy.
constexpr std::string_view sharedAllKey = "cloud.shares-all";

}  // namespace

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

void SharedDayPlan::leaveCloud() {
    store_->leaveCloud();
    copy_->remove(sharedAllKey);
}

bool SharedDayPlan::hasSharedAll() const {
    const auto value = copy_->object(sharedAllKey);
    const auto* has = value ? std::get_if<bool>(&*value) : nullptr;
    return has != nullptr && *has;
}

void SharedDayPlan::setSharedAll() {
    copy_->set(sharedAllKey, true);
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

void shareChangesSince(const StoredDayPlan& before, NSUbiquitousKeyValueStore& shared) {
    StoredDayPlan plan = storedDayPlan();
    for (const auto& [key, old] : before) {
        if (!plan.contains(key)) {
            shared.remove(key);
        }
    }
    for (auto& [key, value] : plan) {
        const auto old = before.find(key);
        if (old == before.end() || old->second != value) {
            shared.set(key, std::move(value));
        }
    }
}

void keepUnsentUpToDate(NSUbiquitousKeyValueStore& shared) {
    for (auto& [key, value] : storedDayPlan()) {
        if (shared.object(key)) {
            shared.set(key, std::move(value));
        }
    }
}

void takeOverWhatIsShared(const NSUbiquitousKeyValueStore& shared) {
    const StoredDayPlan plan = storedDayPlan();
    for (const std::string_view key : quendokit::OptionKeys::All) {
        auto value = shared.object(key);
        const auto own = plan.find(key);
        if (value && (own == plan.end() || own->second != *value)) {
            quendokit::UserDefaults::standard().set(key, *std::move(value));
        }
    }
}

bool shareWhatIsOnlyHere(NSUbiquitousKeyValueStore& shared, bool hasSharedAll) {
    bool isShared = false;
    for (auto& [key, value] : storedDayPlan()) {
        const bool isRemoved = hasSharedAll && key == quendokit::OptionKeys::MacAppPurchased;
        if (!shared.object(key) && !isRemoved) {
            shared.set(key, std::move(value));
            isShared = true;
        }
    }
    return isShared;
}

}  // namespace quendo
