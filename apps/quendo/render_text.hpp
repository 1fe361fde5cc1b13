#pragma once
/// \file
/// Answers as plain sentences for a person. Each is whole lines without the last line break; titles are escaped.

#include <string>
#include <vector>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/doctor.hpp"
#include "apps/quendo/reminder_view.hpp"

namespace quendo::plain {

[[nodiscard]] std::string stored(const ReminderView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string reminder(const ReminderView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string reminders(const std::vector<ReminderView>& views, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string deleted(const std::vector<ReminderView>& views);
[[nodiscard]] std::string findings(const std::vector<Finding>& findings);
[[nodiscard]] std::string version();

}  // namespace quendo::plain
