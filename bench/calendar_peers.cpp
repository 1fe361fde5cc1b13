#include "bench/calendar_peers.hpp"

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <unicode/timezone.h>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/cctz/local_time_zone.hpp"

namespace quendokit::bench {
namespace {

void check(bool good, const char* what) {
    if (!good) {
        std::fprintf(stderr, "calendar peers: %s failed\n", what);
        std::abort();
    }
}

Date makeDate(std::int64_t seconds) {
    return Date(static_cast<double>(seconds));
}

std::int64_t seconds(Date date) {
    return static_cast<std::int64_t>(date.timeIntervalSince1970());
}

absl::Weekday abseilWeekday(int weekday) {
    constexpr absl::Weekday fromSunday[] = {absl::Weekday::sunday,    absl::Weekday::monday,   absl::Weekday::tuesday,
                                            absl::Weekday::wednesday, absl::Weekday::thursday, absl::Weekday::friday,
                                            absl::Weekday::saturday};
    return fromSunday[weekday - 1];
}

std::tm localTime(Date date) {
    const auto time = static_cast<std::time_t>(seconds(date));
    std::tm fields{};
    check(::localtime_r(&time, &fields) != nullptr, "localtime_r");
    return fields;
}

Date makeTime(std::tm fields) {
    fields.tm_isdst = -1;
    return makeDate(std::mktime(&fields));
}

}  // namespace

QuendoKitPeer::QuendoKitPeer(const std::string& zone)
    : calendar_(std::make_shared<LocalCalendar>(LocalTimeZone::make(zone))) {}

AbseilPeer::AbseilPeer(const std::string& zone) {
    check(absl::LoadTimeZone(zone, &zone_), "absl::LoadTimeZone");
}

TimeComponents AbseilPeer::timeComponents(Date date) {
    const absl::CivilSecond shown = reading(date);
    return {shown.hour(), shown.minute(), shown.second()};
}

int AbseilPeer::weekday(Date date) {
    return (static_cast<int>(absl::GetWeekday(reading(date))) + 1) % 7 + 1;
}

Date AbseilPeer::setTime(int hour, int minute, int second, Date date) {
    const absl::CivilDay day(reading(date));
    return this->date(absl::CivilSecond(day.year(), day.month(), day.day(), hour, minute, second));
}

Date AbseilPeer::setWeekday(int weekday, Date date) {
    const absl::CivilDay today(reading(date));
    return this->date(absl::CivilSecond(absl::NextWeekday(today - 1, abseilWeekday(weekday))) + 43'200);
}

absl::CivilSecond AbseilPeer::reading(Date date) const {
    return zone_.At(absl::FromUnixSeconds(seconds(date))).cs;
}

Date AbseilPeer::date(absl::CivilSecond reading) const {
    const absl::TimeZone::TimeInfo found = zone_.At(reading);
    const bool isSkipped = found.kind == absl::TimeZone::TimeInfo::SKIPPED;
    return makeDate(absl::ToUnixSeconds(isSkipped ? found.trans : found.pre));
}

IcuPeer::IcuPeer(const std::string& zone) {
    UErrorCode error = U_ZERO_ERROR;
    calendar_.reset(icu::Calendar::createInstance(icu::TimeZone::createTimeZone(zone.c_str()), error));
    check(U_SUCCESS(error), "icu::Calendar::createInstance");
    calendar_->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
    calendar_->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
}

TimeComponents IcuPeer::timeComponents(Date date) {
    moveTo(date);
    UErrorCode error = U_ZERO_ERROR;
    return {calendar_->get(UCAL_HOUR_OF_DAY, error), calendar_->get(UCAL_MINUTE, error),
            calendar_->get(UCAL_SECOND, error)};
}

int IcuPeer::weekday(Date date) {
    moveTo(date);
    UErrorCode error = U_ZERO_ERROR;
    return calendar_->get(UCAL_DAY_OF_WEEK, error);
}

Date IcuPeer::setTime(int hour, int minute, int second, Date date) {
    moveTo(date);
    calendar_->set(UCAL_HOUR_OF_DAY, hour);
    calendar_->set(UCAL_MINUTE, minute);
    calendar_->set(UCAL_SECOND, second);
    return this->date();
}

Date IcuPeer::setWeekday(int weekday, Date date) {
    moveTo(date);
    UErrorCode error = U_ZERO_ERROR;
    const int daysUntil = (weekday - calendar_->get(UCAL_DAY_OF_WEEK, error) + 7) % 7;
    calendar_->add(UCAL_DATE, daysUntil, error);
    calendar_->set(UCAL_HOUR_OF_DAY, 12);
    calendar_->set(UCAL_MINUTE, 0);
    calendar_->set(UCAL_SECOND, 0);
    return this->date();
}

void IcuPeer::moveTo(Date date) {
    UErrorCode error = U_ZERO_ERROR;
    calendar_->setTime(date.timeIntervalSince1970() * 1'000, error);
}

Date IcuPeer::date() const {
    UErrorCode error = U_ZERO_ERROR;
    return Date(calendar_->getTime(error) / 1'000);
}

PosixPeer::PosixPeer(const std::string& zone) {
    check(::setenv("TZ", zone.c_str(), 1) == 0, "setenv");
    ::tzset();
}

TimeComponents PosixPeer::timeComponents(Date date) {
    const std::tm fields = localTime(date);
    return {fields.tm_hour, fields.tm_min, fields.tm_sec};
}

int PosixPeer::weekday(Date date) {
    return localTime(date).tm_wday + 1;
}

Date PosixPeer::setTime(int hour, int minute, int second, Date date) {
    std::tm fields = localTime(date);
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    return makeTime(fields);
}

Date PosixPeer::setWeekday(int weekday, Date date) {
    std::tm fields = localTime(date);
    fields.tm_mday += (weekday - (fields.tm_wday + 1) + 7) % 7;
    fields.tm_hour = 12;
    fields.tm_min = 0;
    fields.tm_sec = 0;
    return makeTime(fields);
}

}  // namespace quendokit::bench
