#pragma once
/// \file
/// `ReminderAlarmsOptions`: how reminders ring, and whom that tells.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "quendokit/platform/error.hpp"

namespace quendokit {

/// Each protection has a switch. Plain value.
struct ReminderAlarmsOptions {
    /// What fell due while nobody looked (the machine was off or asleep, the clock was set) rings late. Off: only what
    /// is at most `missedAfter` late.
    bool catchesUp = true;
    /// A reminder that came to be known only after its moment rings when it is less than `oldAfter` late, was not shown
    /// elsewhere, and is of a moment after the ledger's beginning. Off: it does not.
    bool ringsLateArrivals = true;
    /// Many at once, and all that are old, make one summary.
    bool summarises = true;
    /// What is on the screen is closed when its reminder was deleted, got another moment or was shown elsewhere.
    bool closesOutdated = true;
    /// A button that would give a moment in the past is reckoned from now.
    bool reckonsLateButtons = true;
    /// A day plan whose times coincide does not end the process when buttons are chosen.
    bool checksDayPlan = true;

    /// More than that many at one check are many.
    std::size_t mostAtOnce = 10;
    /// How many titles a summary names.
    std::size_t titlesInSummary = 5;
    /// Seconds.
    std::int64_t missedAfter = 60;
    std::int64_t oldAfter = 86'400;
};

/// Whom it tells, on the main thread. Each may be absent.
struct ReminderAlarmsEvents {
    /// A file could not be written, or a notification not be shown. Everything rings all the same, and is tried again.
    std::function<void(const Error&)> failed = {};
    /// One line for the log.
    std::function<void(const std::string&)> reports = {};
};

}  // namespace quendokit
