#pragma once
/// \file
/// `OptionKeys`, where the person's day plan stands in the settings.

#include <array>
#include <string_view>

namespace quendokit::OptionKeys {

/// Stored format, on this device and in the person's cloud alike: days are integers from 1 for Sunday to 7 for
/// Saturday, times of day integers in seconds since midnight, durations integers in seconds, the last one is a boolean.
inline constexpr std::string_view FirstWorkday = "quendokit.options.first-workday";
inline constexpr std::string_view FirstWeekend = "quendokit.options.first-weekend";
inline constexpr std::string_view WorkdayMorning = "quendokit.options.workday-morning";
inline constexpr std::string_view WeekendMorning = "quendokit.options.weekend-morning";
inline constexpr std::string_view Afternoon = "quendokit.options.afternoon";
inline constexpr std::string_view Evening = "quendokit.options.evening";
inline constexpr std::string_view Later = "quendokit.options.later";
inline constexpr std::string_view Postpone = "quendokit.options.postpone";
inline constexpr std::string_view MacAppPurchased = "quendokit.options.has-mac-app";

/// Every key, in the order in which they are carried to the cloud and back.
inline constexpr std::array<std::string_view, 9> All = {
    FirstWorkday, FirstWeekend, WorkdayMorning, WeekendMorning, Afternoon, Evening, Later, Postpone, MacAppPurchased,
};

}  // namespace quendokit::OptionKeys
