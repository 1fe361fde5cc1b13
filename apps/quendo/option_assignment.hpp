#pragma once
/// \file
/// The settings as a person names and writes them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "apps/quendo/failure.hpp"
#include "quendokit/model/day.hpp"

namespace quendo {

/// A setting, named in the program's ways.
enum class OptionKey {
    firstWorkday,
    firstWeekend,
    workdayMorning,
    weekendMorning,
    afternoon,
    evening,
    later,
    postpone,
    hasMacApp,
};

/// All of them, in their order.
[[nodiscard]] const std::vector<OptionKey>& allOptionKeys();

/// "first-workday" and so on.
[[nodiscard]] std::string_view nameOf(OptionKey key);

/// Refuses what is no name of a setting.
[[nodiscard]] Outcome<OptionKey> parseOptionKey(std::string_view text);

/// A new value for a setting: a day, a time of day or a duration in seconds, or whether the person has the application
/// for the desktop, absent for not known.
struct OptionAssignment {
    OptionKey key;
    std::variant<quendokit::Day, std::int64_t, std::optional<bool>> value;
};

/// Reads VALUE for `key`: a day in English or in the person's language, in any case, or 1 for Sunday to 7; a time as
/// 09:30 or in seconds below 86,400; a duration as 3h or 20m or in seconds; true, false or none. Asks the installed
/// locale.
[[nodiscard]] Outcome<OptionAssignment> parseOptionValue(OptionKey key, std::string_view text);

}  // namespace quendo
