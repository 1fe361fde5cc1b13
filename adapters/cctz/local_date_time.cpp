#include "adapters/cctz/local_date_time.hpp"

#include <cctz/civil_time.h>

namespace quendokit {

bool isValid(const LocalDateTime& reading) noexcept {
    const auto isWithin = [](auto value, auto first, auto last) { return first <= value && value <= last; };
    return isWithin(reading.year, -localYearLimit, localYearLimit) && isWithin(reading.month, 1, 12) &&
           isWithin(reading.day, 1, daysInMonth(reading.year, reading.month)) && isWithin(reading.hour, 0, 23) &&
           isWithin(reading.minute, 0, 59) && isWithin(reading.second, 0, 59);
}

int daysInMonth(std::int64_t year, int month) noexcept {
    const cctz::civil_month asked(year, month);
    return static_cast<int>(cctz::civil_day(asked + 1) - cctz::civil_day(asked));
}

std::int64_t wallSeconds(const LocalDateTime& reading) noexcept {
    return cctz::civil_second(reading.year, reading.month, reading.day, reading.hour, reading.minute, reading.second) -
           cctz::civil_second();
}

LocalDateTime fromWallSeconds(std::int64_t seconds) noexcept {
    const cctz::civil_second civil = cctz::civil_second() + seconds;
    return {civil.year(), civil.month(), civil.day(), civil.hour(), civil.minute(), civil.second()};
}

}  // namespace quendokit
