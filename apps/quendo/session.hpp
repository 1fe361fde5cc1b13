#pragma once
/// \file
/// `Session`, the one place that works on the reminders.

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/folders.hpp"
#include "apps/quendo/lock_file.hpp"
#include "apps/quendo/option_assignment.hpp"
#include "apps/quendo/plan_view.hpp"
#include "apps/quendo/reminder_view.hpp"
#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/platform/services.hpp"

namespace quendokit {
class ReminderController;
}

namespace quendo {

/// Which reminders to list.
struct ListRequest {
    std::vector<quendokit::ReminderList> lists;
    bool includingDeleted = false;
    /// Absent for no limit.
    std::optional<std::size_t> limit;
};

/// The reminders and the day plan of one person: holds the lock and installs the engine's services for its lifetime,
/// and opens the database with the first request that needs it. One thread.
class Session {
public:
    /// `warn` hears of settings that were damaged and put aside, or that cannot be meant; the session goes on without
    /// them.
    [[nodiscard]] static Outcome<std::unique_ptr<Session>> open(const Folders& folders,
                                                                std::function<void(const std::string&)> warn);
    ~Session();

    /// Why the settings can be neither read nor put aside; absent when they can. The session goes on with the day plan
    /// that everyone begins with.
    [[nodiscard]] const std::optional<Failure>& settingsFailure() const { return settingsFailure_; }

    /// Stores a new reminder.
    [[nodiscard]] Outcome<ReminderView> add(const std::string& title, const quendokit::ReminderCondition& condition);

    /// Stores a new reminder for what the preset of that index gives now.
    [[nodiscard]] Outcome<ReminderView> add(const std::string& title, std::size_t preset);

    /// The reminders of the lists that are asked for, in the engine's order.
    [[nodiscard]] Outcome<std::vector<ReminderView>> list(const ListRequest& request);

    /// One reminder, also when its deletion is unsent.
    [[nodiscard]] Outcome<ReminderView> show(const std::string& id);

    /// Deletes all of them, or none when one of the identifiers fits no reminder or several. Answers them as they were.
    /// Each is a write of its own: when the database fails, the failure says how many are deleted.
    [[nodiscard]] Outcome<std::vector<ReminderView>> delete_(const std::vector<std::string>& ids);

    /// What the presets give for `from`, now when absent.
    [[nodiscard]] PresetsView presets(std::optional<quendokit::Date> from) const;
    [[nodiscard]] std::vector<ActionView> actions() const;

    [[nodiscard]] OptionsView options() const;
    /// Refuses, and changes nothing, when the day plan could not be meant with the new value.
    [[nodiscard]] Outcome<OptionsView> set(const OptionAssignment& assignment);
    [[nodiscard]] Outcome<OptionsView> resetOptions();

private:
    struct Record;
    class NotingScheduler;

    Session(LockFile lock, std::shared_ptr<Record> record, quendokit::platform::Services services);

    /// Opens the database if it is not open.
    [[nodiscard]] std::optional<Failure> openDatabase();
    [[nodiscard]] std::vector<ReminderView> views(const ListRequest& request) const;
    [[nodiscard]] Outcome<ReminderView> find(const std::string& id, bool includingDeleted) const;

    LockFile lock_;
    std::optional<Failure> settingsFailure_;
    std::shared_ptr<Record> record_;
    quendokit::platform::ScopedInstall services_;
    std::shared_ptr<NotingScheduler> scheduler_;
    std::shared_ptr<quendokit::ReminderController> controller_;
};

}  // namespace quendo
