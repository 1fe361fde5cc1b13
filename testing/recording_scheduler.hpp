#pragma once
/// \file
/// `RecordingScheduler`, a `Scheduler` that arms nothing and remembers everything.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quendokit/store/scheduler.hpp"
#include "testing/trace.hpp"

namespace quendokit::testing {

/// Keeps every reminder it was given. With a trace, it also adds "schedule " or "cancel " and the reminder's id there
/// ("-" when absent).
class RecordingScheduler final : public Scheduler {
public:
    explicit RecordingScheduler(std::shared_ptr<Trace> trace = nullptr) : trace_(std::move(trace)) {}

    void schedule(const ReminderStruct& reminder) override {
        scheduled_.push_back(reminder);
        record("schedule ", reminder);
    }
    void cancel(const ReminderStruct& reminder) override {
        cancelled_.push_back(reminder);
        record("cancel ", reminder);
    }

    [[nodiscard]] const std::vector<ReminderStruct>& scheduled() const noexcept { return scheduled_; }
    [[nodiscard]] const std::vector<ReminderStruct>& cancelled() const noexcept { return cancelled_; }

private:
    void record(const std::string& what, const ReminderStruct& reminder) {
        if (trace_) {
            trace_->add(what + reminder.id().value_or("-"));
        }
    }

    std::shared_ptr<Trace> trace_;
    std::vector<ReminderStruct> scheduled_;
    std::vector<ReminderStruct> cancelled_;
};

}  // namespace quendokit::testing
