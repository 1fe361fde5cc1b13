#pragma once
/// \file
/// What can be asked of a `Session`, and what it answers, as plain values.

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "apps/quendo/option_assignment.hpp"
#include "apps/quendo/plan_view.hpp"
#include "apps/quendo/reminder_view.hpp"
#include "apps/quendo/transfer/transfer_entry.hpp"
#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/presets/notification_action.hpp"
#include "quendokit/store/reminder_controller.hpp"

namespace quendo {

/// A preset by its index. Whoever executes the request reckons, by the own clock and day plan.
struct PresetChoice {
    std::size_t index;
};

/// When a reminder is to come.
using Choice = std::variant<quendokit::ReminderCondition, PresetChoice, quendokit::NotificationAction>;

// Each request names the value that answers it.

/// Stores a new reminder; a preset reckons from now.
struct AddRequest {
    using Answer = ReminderView;
    std::string title;
    Choice when;
};

/// The reminders of the lists that are asked for, in the engine's order.
struct ListRequest {
    using Answer = std::vector<ReminderView>;
    std::vector<quendokit::ReminderList> lists;
    bool includingDeleted = false;
    /// Absent for no limit.
    std::optional<std::size_t> limit;
};

/// One reminder, also when its deletion is unsent. Identifiers are whole, or how they begin.
struct ShowRequest {
    using Answer = ReminderView;
    std::string id;
};

/// Changes a reminder; what is absent stays. A preset reckons from now. A reminder that is given another condition was
/// not shown yet.
struct EditRequest {
    using Answer = ReminderView;
    std::string id;
    std::optional<std::string> title;
    std::optional<Choice> when;
};

/// Re-times reminders; a preset or button reckons from the reminder's own moment, from now for one of a device and when
/// that gives the past. Answers them as they are then. A shown one that is to wait for the Mac becomes a new reminder.
/// Each is a write of its own: when the database fails, the failure says how many are done.
struct PostponeRequest {
    using Answer = std::vector<ReminderView>;
    /// Absent for all that have passed.
    std::optional<std::vector<std::string>> ids;
    Choice when;
};

/// The reminders that are seen now.
struct SeenAnswer {
    std::vector<ReminderView> reminders;
};

/// Marks reminders seen, in one write.
struct SeenRequest {
    using Answer = SeenAnswer;
    /// Absent for the unseen device reminders.
    std::optional<std::vector<std::string>> ids;
};

/// Deletes all of them, or none when one of the identifiers fits no reminder or several. Answers them as they were.
/// Each is a write of its own, as with `PostponeRequest`.
struct DeleteRequest {
    using Answer = std::vector<ReminderView>;
    std::vector<std::string> ids;
};

struct StatsRequest {
    using Answer = quendokit::ReminderStats;
};

struct ClearAnswer {
    std::size_t removed = 0;
    /// The titles of the reminders with changes that no cloud has; those changes are lost.
    std::vector<std::string> unsentTitles;
};

/// Removes every reminder.
struct ClearRequest {
    using Answer = ClearAnswer;
};

/// What the presets give for `from`, now when absent.
struct PresetsRequest {
    using Answer = PresetsView;
    std::optional<quendokit::Date> from;
};

/// The postpone buttons.
struct ActionsRequest {
    using Answer = std::vector<ActionView>;
};

/// The day plan.
struct OptionsRequest {
    using Answer = OptionsView;
};

/// Refuses, and changes nothing, when the day plan could not be meant with the new value.
struct SetOptionRequest {
    using Answer = OptionsView;
    OptionAssignment assignment;
};

struct ResetOptionsRequest {
    using Answer = OptionsView;
};

/// Everything that is not deleted.
struct ExportRequest {
    using Answer = std::vector<TransferEntry>;
};

struct ImportAnswer {
    std::size_t imported = 0;
    /// The titles of those that were left out because their deletion is unsent.
    std::vector<std::string> leftOut;
};

/// Stores all of them in one write, as changes that no cloud has. A known identifier is replaced.
struct ImportRequest {
    using Answer = ImportAnswer;
    std::vector<TransferEntry> entries;
};

/// How this home stands to the cloud.
struct CloudView {
    bool connected = false;
    std::string url;
    std::string container;
    /// The name of the zone, once it is known to be there.
    std::optional<std::string> zone;
    std::size_t unsent = 0;
    std::optional<quendokit::Date> lastUpload;
    std::optional<quendokit::Date> lastDownload;
    std::optional<std::string> lastError;
};

struct CloudConnected {
    std::string url;
    std::string container;
};

/// Checks the account, then remembers it. What was connected before is forgotten.
struct CloudConnectRequest {
    using Answer = CloudConnected;
    std::string url;
    std::string container;
    std::string environment;
    std::string apiToken;
    std::string webToken;
    std::chrono::seconds patience;
};

struct CloudStatusRequest {
    using Answer = CloudView;
};

struct CloudDisconnected {};

/// Forgets the account; reminders stay.
struct CloudDisconnectRequest {
    using Answer = CloudDisconnected;
};

struct SyncAnswer {
    /// What the cloud has confirmed, deletions too.
    std::vector<std::string> uploaded;
    /// What reached the store.
    std::size_t received = 0;
    std::size_t deleted = 0;
};

/// Uploads what is unsent, then downloads.
struct SyncRequest {
    using Answer = SyncAnswer;
    std::chrono::seconds patience;
};

/// How the daemon fares.
struct DaemonHealth {
    std::string version;
    /// The name and version of the service that shows its notifications; absent when none does.
    std::optional<std::string> notifications;
    /// A line for each thing that a person should look after.
    std::vector<std::string> problems;
};

struct HealthView {
    /// The reminder that comes next.
    std::optional<ReminderView> next;
    CloudView cloud;
    /// Absent when the command was its own session.
    std::optional<DaemonHealth> daemon = {};
};

struct StatusRequest {
    using Answer = HealthView;
};

using Request = std::variant<AddRequest, ListRequest, ShowRequest, EditRequest, PostponeRequest, SeenRequest,
                             DeleteRequest, StatsRequest, ClearRequest, PresetsRequest, ActionsRequest, OptionsRequest,
                             SetOptionRequest, ResetOptionsRequest, ExportRequest, ImportRequest, CloudConnectRequest,
                             CloudStatusRequest, CloudDisconnectRequest, SyncRequest, StatusRequest>;

using Response =
    std::variant<ReminderView, std::vector<ReminderView>, SeenAnswer, quendokit::ReminderStats, ClearAnswer,
                 PresetsView, std::vector<ActionView>, OptionsView, std::vector<TransferEntry>, ImportAnswer,
                 CloudConnected, CloudView, CloudDisconnected, SyncAnswer, HealthView>;

}  // namespace quendo
