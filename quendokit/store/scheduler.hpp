#pragma once
/// \file
/// `Scheduler`, by which the engine asks the host to arm a reminder's notification.

#include "quendokit/model/reminder_struct.hpp"

namespace quendokit {

/// Implemented by the host, called on the main thread, often inside a database write: it must not call the controller
/// back, only take note. Shared with the controller, which keeps it alive.
class Scheduler {
public:
    Scheduler() = default;
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;
    virtual ~Scheduler() = default;

    /// Arms the local notification of `reminder`, also of one whose moment has passed.
    virtual void schedule(const ReminderStruct& reminder) = 0;
    /// Withdraws it. Called for reminders that were never armed, and more than once for the same one.
    virtual void cancel(const ReminderStruct& reminder) = 0;
};

}  // namespace quendokit
