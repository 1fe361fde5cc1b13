#pragma once
/// \file
/// Answers as JSON documents, whose shapes scripts rely on.

#include <cstddef>
#include <string>
#include <vector>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/doctor.hpp"
#include "apps/quendo/plan_view.hpp"
#include "apps/quendo/reminder_view.hpp"
#include "quendokit/store/reminder_controller.hpp"

namespace quendo::json {

/// Each is one whole document, without a line break at its end.
[[nodiscard]] std::string reminder(const ReminderView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string reminders(const std::vector<ReminderView>& views, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string identifiers(const std::vector<ReminderView>& views);
[[nodiscard]] std::string stats(const quendokit::ReminderStats& stats);
/// An object with one number: `{"removed": 3}`.
[[nodiscard]] std::string count(const char* what, std::size_t number);
[[nodiscard]] std::string presets(const PresetsView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string actions(const std::vector<ActionView>& views);
[[nodiscard]] std::string options(const OptionsView& view);
[[nodiscard]] std::string findings(const std::vector<Finding>& findings);
[[nodiscard]] std::string version();

}  // namespace quendo::json
