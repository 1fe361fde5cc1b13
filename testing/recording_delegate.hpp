#pragma once
/// \file
/// `RecordingDelegate`, a `ReminderControllerDelegate` that counts.

#include <functional>
#include <memory>
#include <utility>

#include "quendokit/store/reminder_controller_delegate.hpp"
#include "testing/trace.hpp"

namespace quendokit::testing {

/// Counts what it is told. With a trace, it also adds "did add" or "did remove" there.
class RecordingDelegate final : public ReminderControllerDelegate {
public:
    explicit RecordingDelegate(std::shared_ptr<Trace> trace = nullptr) : trace_(std::move(trace)) {}

    void reminderControllerDidAddReminder(ReminderController& controller) override {
        ++added_;
        record("did add", controller);
    }
    void reminderControllerDidRemoveReminder(ReminderController& controller) override {
        ++removed_;
        record("did remove", controller);
        if (onRemove_) {
            onRemove_();
        }
    }

    /// Runs `action` whenever it is told of a removal, after that is noted.
    void onRemove(std::function<void()> action) { onRemove_ = std::move(action); }

    [[nodiscard]] int added() const noexcept { return added_; }
    [[nodiscard]] int removed() const noexcept { return removed_; }
    /// Who spoke last; null when nobody has.
    [[nodiscard]] const ReminderController* lastController() const noexcept { return lastController_; }

private:
    void record(const char* what, const ReminderController& controller) {
        lastController_ = &controller;
        if (trace_) {
            trace_->add(what);
        }
    }

    std::shared_ptr<Trace> trace_;
    std::function<void()> onRemove_;
    int added_ = 0;
    int removed_ = 0;
    const ReminderController* lastController_ = nullptr;
};

}  // namespace quendokit::testing
