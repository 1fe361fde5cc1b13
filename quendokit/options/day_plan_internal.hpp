#pragma once
/// \file
/// The one rule of the day plan that settings and presets share.

#include <cstdint>
#include <vector>

#include "quendokit/model/day.hpp"
#include "quendokit/platform/date.hpp"

namespace quendokit {

/// Whether the local day of `date` is one of `days`. Any thread.
[[nodiscard]] bool isOnOneOf(const std::vector<Day>& days, Date date);

/// When the morning of the local day of `date` begins, seconds since midnight, if these are the days of the weekend.
/// Any thread.
[[nodiscard]] std::int64_t morningOf(Date date, const std::vector<Day>& weekend);

}  // namespace quendokit
