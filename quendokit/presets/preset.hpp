#pragma once
/// \file
/// `Preset`, a named rule that says when to remind.

#include <functional>
#include <string>

#include "quendokit/model/reminder_condition.hpp"
#include "quendokit/model/reminder_struct.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// The kind of a preset.
enum class PresetType { later, afternoon, evening, morning, weekend, week, custom, mac };

/// A named rule that turns a moment, now or the one that a reminder is postponed from, into a condition. Plain value.
struct QUENDOKIT_EXPORT Preset {
    using Configuration = std::function<ReminderCondition(Date)>;

    Preset(std::string name, PresetType type, Configuration configuration);

    /// A reminder that was never stored, with that title and the condition that the rule gives for `date`.
    [[nodiscard]] ReminderStruct remind(const std::string& title, Date date) const;

    /// In the person's language; empty for the short postpone.
    std::string name;
    /// The rule. Any thread.
    Configuration configuration;
    PresetType type;
};

}  // namespace quendokit
