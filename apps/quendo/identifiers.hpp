#pragma once
/// \file
/// Finding the reminder that a person means by the beginning of its identifier.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/reminder_view.hpp"

namespace quendo {

/// A shorter prefix could mean too much.
inline constexpr std::size_t shortestPrefix = 4;

/// The reminder whose identifier is `text`, or the only one whose identifier begins with it, in any case.
[[nodiscard]] Outcome<ReminderView> findReminder(const std::vector<ReminderView>& reminders, std::string_view text);

/// The first eight characters of each identifier, or as many more as it takes to tell it from all the others.
[[nodiscard]] std::vector<std::string> shortIdentifiers(const std::vector<ReminderView>& reminders);

}  // namespace quendo
