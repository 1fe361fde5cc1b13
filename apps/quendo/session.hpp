#pragma once
/// \file
/// `Session`, the one place that works on the reminders.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/folders.hpp"
#include "apps/quendo/lock_file.hpp"
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

/// An open store of reminders: holds the lock and the database, and installs the engine's services, for its lifetime.
/// One thread.
class Session {
public:
    [[nodiscard]] static Outcome<std::unique_ptr<Session>> open(const Folders& folders);
    ~Session();

    /// Stores a new reminder.
    [[nodiscard]] Outcome<ReminderView> add(const std::string& title, const quendokit::ReminderCondition& condition);

    /// The reminders of the lists that are asked for, in the engine's order.
    [[nodiscard]] Outcome<std::vector<ReminderView>> list(const ListRequest& request);

    /// One reminder, also when its deletion is unsent.
    [[nodiscard]] Outcome<ReminderView> show(const std::string& id);

    /// Deletes all of them, or none when one of the identifiers fits no reminder or several. Answers them as they were.
    /// Each is a write of its own: when the database fails, the failure says how many are deleted.
    [[nodiscard]] Outcome<std::vector<ReminderView>> delete_(const std::vector<std::string>& ids);

private:
    struct Record;
    class NotingScheduler;

    Session(LockFile lock, std::shared_ptr<Record> record, quendokit::platform::Services services);

    [[nodiscard]] std::vector<ReminderView> views(const ListRequest& request) const;
    [[nodiscard]] Outcome<ReminderView> find(const std::string& id, bool includingDeleted) const;

    LockFile lock_;
    std::shared_ptr<Record> record_;
    quendokit::platform::ScopedInstall services_;
    std::shared_ptr<NotingScheduler> scheduler_;
    std::shared_ptr<quendokit::ReminderController> controller_;
};

}  // namespace quendo
