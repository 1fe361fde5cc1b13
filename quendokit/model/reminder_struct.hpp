#pragma once
/// \file
/// `ReminderStruct`, one reminder as the host sees it.

#include <optional>
#include <string>
#include <utility>

#include "quendokit/model/reminder_condition.hpp"

namespace quendokit {

/// A reminder. Plain value, copied freely, not changed after construction. It has no equality of its own; compare what
/// matters, conditions by `ReminderCondition`'s rule.
class ReminderStruct {
public:
    /// A reminder that was never stored: no id, not shown.
    ReminderStruct(std::string title, ReminderCondition condition)
        : ReminderStruct(std::nullopt, std::move(title), false, condition) {}

    ReminderStruct(std::optional<std::string> id, std::string title, bool shown, ReminderCondition condition)
        : id_(std::move(id)), title_(std::move(title)), shown_(shown), condition_(condition) {}

    /// Absent for a reminder that was never stored; afterwards the key of its record, a UUID as text.
    [[nodiscard]] const std::optional<std::string>& id() const noexcept { return id_; }
    [[nodiscard]] const std::string& title() const noexcept { return title_; }
    /// Whether the reminder has been presented to the person.
    [[nodiscard]] bool shown() const noexcept { return shown_; }
    [[nodiscard]] const ReminderCondition& condition() const noexcept { return condition_; }

private:
    std::optional<std::string> id_;
    std::string title_;
    bool shown_;
    ReminderCondition condition_;
};

}  // namespace quendokit
