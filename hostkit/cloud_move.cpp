#include "hostkit/cloud_move.hpp"

#include <utility>
#include <variant>
#include <vector>

#include "hostkit/guarded_cloud_database.hpp"
#include "hostkit/tell_internal.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendokit {
namespace {

using Internal = ReminderControllerInternal;

/// The ids of what the cloud has confirmed, without `except`.
std::vector<std::string> sentIDs(const ReminderController& controller, const std::set<std::string>& except) {
    std::vector<std::string> ids;
    const ReminderItems items = Internal::reminderItems(controller, false);
    for (const auto* list : {&items.macReminders, &items.upcomingReminders, &items.remainingReminders}) {
        for (const ReminderItem& item : *list) {
            if (!item.pending && !except.contains(item.ID)) {
                ids.push_back(item.ID);
            }
        }
    }
    return ids;
}

/// Whether it is to be sent then. What has gone meanwhile, or is no reminder that this version knows, is left alone.
bool resend(ReminderController& controller, const std::string& id) {
    const auto reminder = controller.reminder(id);
    if (!reminder) {
        return true;
    }
    // To its own condition: nothing changes but that it counts as changed.
    controller.postpone(*reminder, reminder->condition());
    const auto changed = Internal::reminderItem(controller, id);
    return !changed || changed->pending;
}

}  // namespace

CloudIdentity::CloudIdentity(std::shared_ptr<UserDefaults> defaults, std::string tokenKey)
    : defaults_(std::move(defaults)), tokenKey_(std::move(tokenKey)), key_(tokenKey_ + std::string(keySuffix)) {}

bool CloudIdentity::isAnother(const std::string& cloud) {
    const auto value = defaults_->object(key_);
    const auto* known = value ? std::get_if<std::string>(&*value) : nullptr;
    if (known == nullptr && defaults_->object(tokenKey_)) {
        setMoved(cloud);
        return false;
    }
    if (known != nullptr && *known == cloud) {
        return false;
    }
    forget();
    return true;
}

void CloudIdentity::setMoved(const std::string& cloud) {
    defaults_->set(key_, cloud);
}

void CloudIdentity::forget() {
    // No cloud at all, rather than none remembered: a token that is kept before the move is over says nothing then.
    defaults_->set(key_, std::string());
    defaults_->remove(tokenKey_);
}

void resendEverything(const std::shared_ptr<ReminderController>& controller,
                      const std::shared_ptr<GuardedCloudDatabase>& guard, const std::set<std::string>& except,
                      std::function<void(bool)> done) {
    std::vector<std::string> ids = sentIDs(*controller, except);
    auto resendAll = [controller, ids, done = std::move(done)] {
        bool everything = true;
        for (const std::string& id : ids) {
            everything = resend(*controller, id) && everything;
        }
        tell(done, everything);
    };
    if (guard) {
        guard->perform(std::move(ids), std::move(resendAll));
    } else {
        resendAll();
    }
}

}  // namespace quendokit
