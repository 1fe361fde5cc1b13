#include "apps/quendo/session.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

#include "adapters/linux/linux_platform.hpp"
#include "apps/quendo/identifiers.hpp"
#include "apps/quendo/locale_folder.hpp"
#include "apps/quendo/log_file.hpp"
#include "apps/quendo/option_change.hpp"
#include "hostkit/guarded_user_defaults.hpp"
#include "quendokit/model/date_operations.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"

namespace quendo {
namespace {

using quendokit::Date;
using quendokit::ReminderControllerInternal;
using quendokit::ReminderList;

constexpr std::chrono::seconds patience(5);

}  // namespace

/// What went wrong with the files during the current operation: the engine itself reports no errors.
struct Session::Record {
    std::optional<quendokit::Error> firstError;

    void note(const quendokit::Error& error) {
        if (!firstError) {
            firstError = error;
        }
    }

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

Outcome<std::unique_ptr<Session>> Session::open(const Folders& folders, std::function<void(const std::string&)> warn) {
    for (const auto& folder : {folders.data, folders.config, folders.state}) {
        if (auto failure = makeFolder(folder)) {
            return *std::move(failure);
        }
    }
    auto lock = LockFile::take(folders.lock(), patience);
    if (!lock) {
        return lock.failure();
    }
    const auto record = std::make_shared<Record>();
    quendokit::LinuxPlatformOptions options;
    options.folders = folders;
    options.localeFolder = findLocaleFolder();
    options.AppIdentifier = "quendo";
    options.organisationPrefix = "quendo";
    options.patience = patience;
    options.onFailure = [record](const quendokit::Error& error) { record->note(error); };
    auto services = quendokit::makeLinuxPlatform(std::move(options)).services;
    // The settings are read while they are made. What was damaged then may be mended by now.
    std::optional<Failure> settingsFailure;
    if (const auto found = record->takeFailure()) {
        if (const auto error = quendokit::FileUserDefaults::examine(folders.settings())) {
            settingsFailure = Failure{failureOf(*error).code, found->line};
        } else {
            warn(found->line);
        }
    }
    services.standardOutput = std::make_shared<LogFile>(folders.log());
    services.userDefaults = std::make_shared<quendokit::GuardedUserDefaults>(
        services.userDefaults, quendokit::SettingsGuardOptions{true, std::move(warn)});
    auto session = std::unique_ptr<Session>(new Session(std::move(lock).value(), record, std::move(services)));
    session->settingsFailure_ = std::move(settingsFailure);
    return session;
}

std::optional<Failure> Session::openDatabase() {
    if (controller_) {
        return std::nullopt;
    }
    auto realm = quendokit::Realm::open(quendokit::QuendoKitConfig());
    if (!realm) {
        return failureOf(realm.error());
    }
    controller_ = quendokit::ReminderController::create(scheduler_, std::move(realm).value(), nullptr, nullptr);
    return std::nullopt;
}

Session::Session(LockFile lock, std::shared_ptr<Record> record, quendokit::platform::Services services)
    : lock_(std::move(lock)),
      record_(std::move(record)),
      services_(std::move(services)),
      scheduler_(std::make_shared<NotingScheduler>()) {}

Session::~Session() = default;

Outcome<ReminderView> Session::add(const std::string& title, const quendokit::ReminderCondition& condition) {
    if (auto failure = openDatabase()) {
        return *std::move(failure);
    }
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

Outcome<ReminderView> Session::add(const std::string& title, std::size_t preset) {
    const auto chosen = quendokit::PresetController().presets().at(preset);
    const Date now = quendokit::platform::clock().now();
    auto condition = chosen.configuration(now);
    if (const auto date = condition.date(); date && *date <= now) {
        // In the very second in which the morning begins, "tomorrow morning" has just gone by: it is the next one then.
        condition = chosen.configuration(now + 1);
    }
    return add(title, condition);
}

Outcome<std::vector<ReminderView>> Session::list(const ListRequest& request) {
    if (auto failure = openDatabase()) {
        return *std::move(failure);
    }
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
    if (auto failure = openDatabase()) {
        return *std::move(failure);
    }
    auto found = find(id, true);
    if (auto failure = record_->takeFailure()) {
        return *std::move(failure);
    }
    return found;
}

Outcome<std::vector<ReminderView>> Session::delete_(const std::vector<std::string>& ids) {
    if (auto failure = openDatabase()) {
        return *std::move(failure);
    }
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

PresetsView Session::presets(std::optional<Date> from) const {
    const Date now = quendokit::platform::clock().now();
    return viewPresets(now, from.value_or(now));
}

std::vector<ActionView> Session::actions() const {
    return viewActions();
}

OptionsView Session::options() const {
    return viewOptions();
}

Outcome<OptionsView> Session::set(const OptionAssignment& assignment) {
    if (auto failure = refusalOf(assignment)) {
        return *std::move(failure);
    }
    assign(assignment);
    if (auto failure = record_->takeFailure()) {
        return *std::move(failure);
    }
    return viewOptions();
}

Outcome<OptionsView> Session::resetOptions() {
    quendokit::Options::reset();
    if (auto failure = record_->takeFailure()) {
        return *std::move(failure);
    }
    return viewOptions();
}

std::vector<ReminderView> Session::views(const ListRequest& request) const {
    const Date now = quendokit::platform::clock().now();
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
