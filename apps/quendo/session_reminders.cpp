/// \file
/// Storing, listing, deleting, counting, clearing.

#include <utility>

#include "apps/quendo/cloud/reminder_mirror.hpp"
#include "apps/quendo/session_cloud_internal.hpp"
#include "apps/quendo/session_internal.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/platform/user_defaults.hpp"
#include "quendokit/store/reminder_controller_internal.hpp"

namespace quendo {

using quendokit::ReminderStruct;

Outcome<ReminderView> Session::perform(const AddRequest& request) {
    if (auto failure = openToChange()) {
        return *std::move(failure);
    }
    const ReminderStruct reminder(request.title, conditionOf(request.when, std::nullopt));
    scheduler_->lastScheduled.reset();
    change({}, [&] { controller_->store(reminder); });
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    return stored(scheduler_->lastScheduled.value_or(""), reminder);
}

Outcome<std::vector<ReminderView>> Session::perform(const ListRequest& request) {
    if (auto failure = openToRead()) {
        return *std::move(failure);
    }
    auto found = views(request);
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    if (request.limit && found.size() > *request.limit) {
        found.erase(found.begin() + static_cast<std::ptrdiff_t>(*request.limit), found.end());
    }
    return found;
}

Outcome<ReminderView> Session::perform(const ShowRequest& request) {
    if (auto failure = openToRead()) {
        return *std::move(failure);
    }
    return find(request.id, true);
}

Outcome<std::vector<ReminderView>> Session::perform(const DeleteRequest& request) {
    if (auto failure = openToChange()) {
        return *std::move(failure);
    }
    auto chosen = findAll(request.ids);
    if (!chosen) {
        return chosen;
    }
    const auto remove = [&](const ReminderView& view) {
        change({view.id},
               [&] { controller_->delete_(ReminderStruct(view.id, view.title, view.shown, view.condition)); });
        return std::nullopt;
    };
    if (auto failure = changeEach(chosen.value(), "deleted", remove)) {
        return *std::move(failure);
    }
    return chosen;
}

Outcome<quendokit::ReminderStats> Session::perform(const StatsRequest&) {
    if (auto failure = openToRead()) {
        return *std::move(failure);
    }
    const auto stats = controller_->reminderStats(false);
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    return stats;
}

Outcome<ClearAnswer> Session::perform(const ClearRequest&) {
    if (auto failure = openToChange()) {
        return *std::move(failure);
    }
    const auto stats = controller_->reminderStats(false);
    ClearAnswer answer{stats.pending + stats.passed, {}};
    for (const auto& unsent : {controller_->remindersToUpload(), controller_->remindersToDelete()}) {
        for (const auto& item : *unsent) {
            answer.unsentTitles.push_back(item.title);
        }
    }
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    // With the next sync all of them are read anew.
    quendokit::UserDefaults::standard().remove(Cloud::tokenKey);
    change({}, [&] { controller_->clearRealm(); });
    if (mirror_) {
        mirror_->readFromTheBeginning();
    }
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    return answer;
}

}  // namespace quendo
