#pragma once
/// \file
/// `DateRange`, the time around a moment.

#include <cstdint>

#include "quendokit/model/date_operations.hpp"
#include "quendokit/platform/date.hpp"

namespace quendokit {

/// From `min` to `max`, both left out. Plain value.
struct DateRange {
    Date min;
    Date max;
};

/// From `seconds` before `date` to `seconds` after it. Any thread.
[[nodiscard]] constexpr DateRange plusMinus(Date date, std::int64_t seconds) {
    return {date - seconds, date + seconds};
}

/// Whether `date` is later than `range.min` and earlier than `range.max`: `isWithin(date, plusMinus(date, 60))` is
/// true, with 0 instead of 60 it is false. Any thread.
[[nodiscard]] constexpr bool isWithin(Date date, const DateRange& range) {
    return date > range.min && date < range.max;
}

}  // namespace quendokit
