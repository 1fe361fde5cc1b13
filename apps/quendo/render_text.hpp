#pragma once
/// \file
/// Answers as plain sentences for a person. Each is whole lines without the last line break; titles are escaped. What
/// is a table or a list is laid out for where it goes, standard output when not said.

#include <string>
#include <vector>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/doctor.hpp"
#include "apps/quendo/option_assignment.hpp"
#include "apps/quendo/plan_view.hpp"
#include "apps/quendo/reminder_view.hpp"
#include "apps/quendo/terminal.hpp"

namespace quendo::plain {

[[nodiscard]] std::string reminder(const ReminderView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string reminders(const std::vector<ReminderView>& views, const quendokit::LocalTimeZone& zone,
                                    const Style& style = standardOutputStyle());
[[nodiscard]] std::string presets(const PresetsView& view, const quendokit::LocalTimeZone& zone,
                                  const Style& style = standardOutputStyle());
[[nodiscard]] std::string actions(const std::vector<ActionView>& views, const Style& style = standardOutputStyle());
[[nodiscard]] std::string options(const OptionsView& view, const Style& style = standardOutputStyle());
/// One setting alone.
[[nodiscard]] std::string option(OptionKey key, const OptionsView& view);
[[nodiscard]] std::string findings(const std::vector<Finding>& findings, const Style& style = standardOutputStyle());
[[nodiscard]] std::string version();

}  // namespace quendo::plain
