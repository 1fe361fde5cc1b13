#pragma once
/// \file
/// What a two-step change means to do, as a line of the journal.

#include <optional>
#include <string>
#include <string_view>

#include "hostkit/two_step_changes.hpp"

namespace quendokit {

/// Stores `reminder`, which has an id, as changed; then deletes the reminder with the id `deleted`, when there is one.
struct TwoStepChanges::Intent {
    ReminderStruct reminder;
    std::optional<std::string> deleted;

    [[nodiscard]] std::string line() const;
    /// Absent when the line is none of ours.
    [[nodiscard]] static std::optional<Intent> fromLine(std::string_view line);
};

}  // namespace quendokit
