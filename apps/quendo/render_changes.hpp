#pragma once
/// \file
/// What changes did, as plain sentences for a person. Each is whole lines without the last line break; titles are
/// escaped.

#include <cstddef>
#include <string>
#include <vector>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/reminder_view.hpp"
#include "quendokit/store/reminder_controller.hpp"

namespace quendo::plain {

[[nodiscard]] std::string stored(const ReminderView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string edited(const ReminderView& view, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string postponed(const std::vector<ReminderView>& views, const quendokit::LocalTimeZone& zone);
[[nodiscard]] std::string seen(const std::vector<ReminderView>& views);
[[nodiscard]] std::string deleted(const std::vector<ReminderView>& views);
[[nodiscard]] std::string stats(const quendokit::ReminderStats& stats);
[[nodiscard]] std::string cleared(std::size_t count);
/// `file` as it is shown to the person.
[[nodiscard]] std::string exported(std::size_t count, const std::string& file);
[[nodiscard]] std::string imported(std::size_t count);

/// The first few of many titles, and how many more there are, for one line.
[[nodiscard]] std::string someTitles(const std::vector<std::string>& titles);

}  // namespace quendo::plain
