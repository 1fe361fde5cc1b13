#include "apps/quendo/session.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

#include "adapters/event_loop/system_clock.hpp"
#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "apps/quendo/identifiers.hpp"
#include "apps/quendo/log_file.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"

namespace quendo {
namespace {

using quendokit::ReminderControllerInternal;
using quendokit::ReminderList;

constexpr std::chrono::seconds patience(5);

}  // namespace

/// What went wrong in the database during the current operation: the engine itself reports no errors.
struct Session::Record {
    std::optional<quendokit::Error> firstError;

    [[nodiscard]] std::optional<Failure> takeFailure() {
        const auto error = std::exchange(firstError, std::nullopt);
        return error ? std::optional(failureOf(*error)) : std::nullopt;
    }
};

/// Takes note of what the engine wants armed. Nothing rings while a single command runs.
class Session::NotingScheduler final : public quendokit::Scheduler {
public:
    void schedule(const quendokit::ReminderStruct& reminder) override { lastScheduled = reminder.id(); }
    void cancel(const quendokit::ReminderStruct&) override {}

    /// The engine gives a new reminder its identifier and tells it here alone.
    std::optional<std::string> lastScheduled;
};

Outcome<std::unique_ptr<Session>> Session::open(const Folders& folders) {
    for (const auto& folder : {folders.data, folders.state}) {
        if (auto failure = makeFolder(folder)) {
            return *std::move(failure);
        }
    }
    auto lock = LockFile::take(folders.lock(), patience);
    if (!lock) {
        return lock.failure();
    }
    const auto record = std::make_shared<Record>();
    quendokit::SQLiteRealmOptions options;
    options.defaultFile = folders.database();
    options.busyTimeout = patience;
    options.onFailure = [record](const quendokit::Error& error) {
        if (!record->firstError) {
            record->firstError = error;
        }
    };
    quendokit::platform::Services services;
    services.clock = std::make_shared<quendokit::SystemClock>();
    services.realmProvider = std::make_shared<quendokit::SQLiteRealmProvider>(std::move(options));
    services.standardOutput = std::make_shared<LogFile>(folders.log());
    services.AppIdentifier = "quendo";
    std::unique_ptr<Session> session(new Session(std::move(lock).value(), record, std::move(services)));
    auto realm = quendokit::Realm::open(quendokit::QuendoKitConfig());
    if (!realm) {
        return failureOf(realm.error());
    }
    session->controller_ =
        quendokit::ReminderController::create(session->scheduler_, std::move(realm).value(), nullptr, nullptr);
    return session;
}

Session::Session(LockFile lock, std::shared_ptr<Record> record, quendokit::platform::Services services)
    : lock_(std::move(lock)),
      record_(std::move(record)),
      services_(std::move(services)),
      scheduler_(std::make_shared<NotingScheduler>()) {}

Session::~Session() = default;

Outcome<ReminderView> Session::add(const std::string& title, const quendokit::ReminderCondition& condition) {
    scheduler_->lastScheduled.reset();
    controller_->store(quendokit::ReminderStruct(title, condition));
    const auto id = scheduler_->lastScheduled;
    auto stored = id ? ReminderControllerInternal::reminderItem(*controller_, *id) : std::nullopt;
    if (auto failure = record_->takeFailure()) {
        return *std::move(failure);
    }
    auto view = stored ? makeReminderView(*std::move(stored), quendokit::platform::clock().now()) : std::nullopt;
    // A reminder that falls due at this very instant is in no list and cannot be read back.
    return view ? *std::move(view) : ReminderView{id.value_or(""), title, false, condition, std::nullopt, true, false};
}

Outcome<std::vector<ReminderView>> Session::list(const ListRequest& request) {
    auto found = views(request);
    if (auto failure = record_->takeFailure()) {
        return *std::move(failure);
    }
    if (request.limit && found.size() > *request.limit) {
        found.erase(found.begin() + static_cast<std::ptrdiff_t>(*request.limit), found.end());
    }
    return found;
}

Outcome<ReminderView> Session::show(const std::string& id) {
    auto found = find(id, true);
    if (auto failure = record_->takeFailure()) {
        return *std::move(failure);
    }
    return found;
}

Outcome<std::vector<ReminderView>> Session::delete_(const std::vector<std::string>& ids) {
    std::vector<ReminderView> chosen;
    for (const std::string& id : ids) {
        auto found = find(id, false);
        if (auto failure = record_->takeFailure()) {
            return *std::move(failure);
        }
        if (!found) {
            return found.failure();
        }
        const bool again = std::any_of(chosen.begin(), chosen.end(),
                                       [&](const ReminderView& each) { return each.id == found.value().id; });
        if (!again) {
            chosen.push_back(std::move(found).value());
        }
    }
    std::size_t done = 0;
    for (const ReminderView& each : chosen) {
        controller_->delete_(quendokit::ReminderStruct(each.id, each.title, each.shown, each.condition));
        if (auto failure = record_->takeFailure()) {
            if (done > 0) {
                failure->line +=
                    " (" + std::to_string(done) + " of " + std::to_string(chosen.size()) + " were deleted before)";
            }
            return *std::move(failure);
        }
        ++done;
    }
    return chosen;
}

std::vector<ReminderView> Session::views(const ListRequest& request) const {
    const quendokit::Date now = quendokit::platform::clock().now();
    auto items = ReminderControllerInternal::reminderItems(*controller_, request.includingDeleted, now);
    std::vector<ReminderView> result;
    for (const ReminderList list : request.lists) {
        auto& of = list == ReminderList::mac        ? items.macReminders
                   : list == ReminderList::upcoming ? items.upcomingReminders
                                                    : items.remainingReminders;
        for (auto& item : of) {
            if (auto view = makeReminderView(std::move(item), now)) {
                result.push_back(*std::move(view));
            }
        }
    }
    return result;
}

Outcome<ReminderView> Session::find(const std::string& id, bool includingDeleted) const {
    // A whole identifier, as scripts give it, needs no listing.
    if (auto item = ReminderControllerInternal::reminderItem(*controller_, id);
        item && (includingDeleted || !item->deleted)) {
        if (auto view = makeReminderView(*std::move(item), quendokit::platform::clock().now())) {
            return *std::move(view);
        }
    }
    return findReminder(
        views(
            {{quendokit::allReminderLists.begin(), quendokit::allReminderLists.end()}, includingDeleted, std::nullopt}),
        id);
}

}  // namespace quendo
