#pragma once
/// \file
/// `FiredEntry`, how far a reminder's ringing has come.

#include <cstdint>
#include <optional>
#include <string>

#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/platform/date.hpp"

namespace quendokit {

/// A reminder that rang, or is about to. Plain value.
struct FiredEntry {
    enum class State : std::uint8_t {
        /// It is to be shown; it may be on the screen, or not.
        due,
        /// It is on the screen, or was.
        posted,
        /// A button was pressed; what that means may be stored, or not.
        pressed,
        /// Nothing more is to be done.
        acted,
    };

    std::string id = {};
    /// The moment that rang; absent for a device reminder.
    std::optional<Date> occurrence = {};
    State state = State::due;
    /// Whether the reminder was `shown` when it was put on the screen. It is closed when it becomes so elsewhere.
    bool wasShown = false;
    /// What it was shown as; empty while nobody knows.
    std::string handle = {};
    /// It is one of several in one notification.
    bool inSummary = false;
    /// The identifier of the button that was pressed; empty for none.
    std::string action = {};
    /// When it was pressed.
    std::optional<Date> pressedAt = {};

    /// Whether it is about that moment, or about a device like it; moments less than a second apart are one.
    [[nodiscard]] bool isOf(std::optional<Date> other) const noexcept {
        return occurrence.has_value() == other.has_value() &&
               (!other || ReminderCondition::dateTime(*occurrence) == ReminderCondition::dateTime(*other));
    }
};

}  // namespace quendokit
