#pragma once
/// \file
/// The moments, times of day and durations that a person types, and how a moment is told to a person.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "adapters/cctz/local_time_zone.hpp"
#include "quendokit/platform/date.hpp"
#include "quendokit/platform/error.hpp"

namespace quendo {

/// `Error::domain` of what `parseWhen` refuses. The code is always 1: to a caller all refusals are alike.
inline constexpr std::string_view whenErrorDomain = "When";

/// A moment that somebody typed.
struct When {
    quendokit::Date date;
    /// `skipped` when the clocks never show what was typed and `date` is the first moment after the gap, which the
    /// answer says; `repeated` when `date` is one of two. `unique` for all that names no local time.
    quendokit::LocalTimeKind kind;
};

/// Reads one of these; no blanks around them, digits in exactly these numbers except where they count something:
/// - `2026-11-21`, the local midnight of that date; `2026-11-21 18:00` and `2026-11-21 18:00:30`, a local time. The
///   blank may be a `T`. `Z` or an offset as `+05:45` behind the time makes it a time at that offset instead.
/// - `18:00` or `18:00:30`, the next moment after `now` at which the clocks show it: today, else on the next date that
///   exists. A repeated time comes a second time while `now` is between the two.
/// - `+20m`, `+1h30m`, `+2d`: that much after `now`; each of d, h, m, s once at most and in this order. A day is 86,400
///   seconds, whatever the clocks do.
/// - `@1795302000`, seconds since 1970-01-01 00:00:00 UTC; may be negative and may have a fraction.
///
/// Whether the moment has passed is not judged. The error is one line that names the text and what to write instead:
/// for what reads as none of these, for dates and times that do not exist, and for moments whose local year is not
/// 0001 to 9999. Any thread.
[[nodiscard]] quendokit::Result<When> parseWhen(std::string_view text, quendokit::Date now,
                                                const quendokit::LocalTimeZone& zone);

/// The seconds since midnight of "09:30" or "09:30:15", two digits each. Absent for anything else. Any thread.
[[nodiscard]] std::optional<std::int64_t> parseTimeOfDay(std::string_view text);

/// The seconds of "3h", "20m" or "1d2h30m10s": each unit once at most, in this order, a day with 86,400. Absent for
/// anything else, and beyond 64 bits. Any thread.
[[nodiscard]] std::optional<std::int64_t> parseSecondsOfDuration(std::string_view text);

/// `date` on the clocks of `zone`, "2026-11-21 18:00"; "2026-11-21 18:00:30" when it has whole seconds. A moment whose
/// local year is not 0001 to 9999 is told as "@253402300800". Any thread.
[[nodiscard]] std::string whenText(quendokit::Date date, const quendokit::LocalTimeZone& zone);

}  // namespace quendo
