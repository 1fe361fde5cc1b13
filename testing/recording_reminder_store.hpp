#pragma once
/// \file
/// `RecordingReminderStore`, a `ReminderStore` that answers what the test says.

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quendokit/store/reminder_store.hpp"
#include "testing/trace.hpp"

namespace quendokit::testing {

/// Answers `toUpload` and `toDelete`, and adds the rest to the trace: "store ID", "delete ID", "did sync ID…". One
/// thread.
class RecordingReminderStore final : public ReminderStore {
public:
    explicit RecordingReminderStore(std::shared_ptr<Trace> trace) : trace_(std::move(trace)) {}

    [[nodiscard]] std::optional<std::vector<ReminderItem>> remindersToUpload() override { return toUpload; }
    [[nodiscard]] std::optional<std::vector<ReminderItem>> remindersToDelete() override { return toDelete; }

    void storeReminder(const ReminderStruct& reminder) override {
        stored.push_back(reminder);
        trace_->add("store " + reminder.id().value_or("<no id>"));
    }
    void deleteReminder(const std::string& id) override { trace_->add("delete " + id); }
    void didSyncReminders(const std::vector<std::string>& ids) override {
        std::string line = "did sync";
        for (const std::string& id : ids) {
            line += " " + id;
        }
        trace_->add(std::move(line));
    }

    std::optional<std::vector<ReminderItem>> toUpload = std::vector<ReminderItem>();
    std::optional<std::vector<ReminderItem>> toDelete = std::vector<ReminderItem>();
    std::vector<ReminderStruct> stored;

private:
    const std::shared_ptr<Trace> trace_;
};

}  // namespace quendokit::testing
