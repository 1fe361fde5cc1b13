#pragma once
/// \file
/// What the sources of `Session` share.

#include <optional>
#include <string>

#include "apps/quendo/session.hpp"
#include "quendokit/store/scheduler.hpp"

namespace quendo {

/// The condition that a person chose. A preset or button reckons from `from`, and from now when that is absent or gives
/// the past.
[[nodiscard]] quendokit::ReminderCondition conditionOf(const Choice& when, std::optional<quendokit::Date> from);

/// Takes note of what the engine wants armed. Nothing rings while a single command runs; in a process that stays it is
/// passed on.
class Session::NotingScheduler final : public quendokit::Scheduler {
public:
    void schedule(const quendokit::ReminderStruct& reminder) override {
        lastScheduled = reminder.id();
        if (next) {
            next->schedule(reminder);
        }
    }
    void cancel(const quendokit::ReminderStruct& reminder) override {
        if (next) {
            next->cancel(reminder);
        }
    }

    std::shared_ptr<quendokit::Scheduler> next;

    /// The engine gives a new reminder its identifier and tells it here alone.
    std::optional<std::string> lastScheduled;
};

}  // namespace quendo
