#pragma once
/// \file
/// What iCalendar cannot say exactly, and how our files say it beside what every program reads.
///
/// Each of these properties counts only while it agrees with its neighbour: when another program changed DUE, COMPLETED
/// or SUMMARY and kept what it did not know, the change wins.

#include <optional>
#include <string>
#include <string_view>

#include "quendokit/platform/date.hpp"

namespace quendo::icalendar {

/// Stored format. Seconds since 1970 with all their digits, where DUE has whole seconds until the year 9999.
inline constexpr std::string_view exactDueName = "X-QUENDO-DUE";
/// Stored format. The same beside COMPLETED, or without one for a reminder that was not shown.
inline constexpr std::string_view exactCompletedName = "X-QUENDO-COMPLETED";
/// Stored format. The title in percent-encoding, where SUMMARY cannot hold its control characters or outer blanks.
inline constexpr std::string_view exactTitleName = "X-QUENDO-TITLE";
/// Stored format. "MAC" for a reminder that waits for the next arrival at the Mac.
inline constexpr std::string_view conditionName = "X-QUENDO-CONDITION";
inline constexpr std::string_view macCondition = "MAC";

/// `date` in UTC, "20261121T230000Z"; its fraction is cut off, and it is moved into the years 1970 to 9999.
[[nodiscard]] std::string utcText(quendokit::Date date);
/// Whether `utcText` says all of it.
[[nodiscard]] bool isSaidByUtcText(quendokit::Date date);

[[nodiscard]] std::string exactText(quendokit::Date date);
[[nodiscard]] std::optional<quendokit::Date> fromExactText(std::string_view text);

/// `title` as SUMMARY can hold it: control characters but line feed and tab become blanks, outer blanks go.
[[nodiscard]] std::string summaryOf(std::string_view title);

[[nodiscard]] std::string percentEncoded(std::string_view text);
/// Absent when a percent sign is not followed by two hexadecimal digits.
[[nodiscard]] std::optional<std::string> percentDecoded(std::string_view text);

}  // namespace quendo::icalendar
