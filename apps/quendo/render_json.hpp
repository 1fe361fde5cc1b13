#pragma once
/// \file
/// Answers as JSON documents, whose shapes scripts rely on.

#include <string>
#include <vector>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/doctor.hpp"
#include "apps/quendo/plan_view.hpp"
#include "apps/quendo/reminder_view.hpp"

namespace quendo::json {

/// Each is one whole document, without a line break at its end.
[[nodiscard]] std::string reminder(const ReminderView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string reminders(const std::vector<ReminderView>& views, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string identifiers(const std::vector<ReminderView>& views);
[[nodiscard]] std::string presets(const PresetsView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string actions(const std::vector<ActionView>& views);
[[nodiscard]] std::string options(const OptionsView& view);
[[nodiscard]] std::string findings(const std::vector<Finding>& findings);
[[nodiscard]] std::string version();

}  // namespace quendo::json
