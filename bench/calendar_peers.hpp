#pragma once
/// \file
/// The yardsticks of local time: the same questions asked of QuendoKit, Abseil, ICU and the C library, in one zone.
///
/// Each has the members of `QuendoKitPeer`. Dates are whole seconds; what does not exist or fails aborts.

#include <memory>
#include <string>

#include <absl/time/time.h>
#include <unicode/calendar.h>

#include "quendokit/platform/calendar.hpp"

namespace quendokit::bench {

/// `LocalCalendar`, asked through its interface.
class QuendoKitPeer {
public:
    explicit QuendoKitPeer(const std::string& zone);

    [[nodiscard]] TimeComponents timeComponents(Date date) { return *calendar_->timeComponents(date); }
    [[nodiscard]] int weekday(Date date) { return *calendar_->weekday(date); }
    [[nodiscard]] Date setTime(int hour, int minute, int second, Date date) {
        return *calendar_->dateBySettingHour(hour, minute, second, date);
    }
    [[nodiscard]] Date setWeekday(int weekday, Date date) { return *calendar_->dateBySettingWeekday(weekday, date); }

    [[nodiscard]] const std::shared_ptr<const Calendar>& calendar() const { return calendar_; }

private:
    const std::shared_ptr<const Calendar> calendar_;
};

/// `absl::TimeZone` and its civil times.
class AbseilPeer {
public:
    explicit AbseilPeer(const std::string& zone);

    [[nodiscard]] TimeComponents timeComponents(Date date);
    [[nodiscard]] int weekday(Date date);
    [[nodiscard]] Date setTime(int hour, int minute, int second, Date date);
    [[nodiscard]] Date setWeekday(int weekday, Date date);

private:
    [[nodiscard]] absl::CivilSecond reading(Date date) const;
    [[nodiscard]] Date date(absl::CivilSecond reading) const;

    absl::TimeZone zone_;
};

/// One `icu::Calendar`, used again for each question.
class IcuPeer {
public:
    explicit IcuPeer(const std::string& zone);

    [[nodiscard]] TimeComponents timeComponents(Date date);
    [[nodiscard]] int weekday(Date date);
    [[nodiscard]] Date setTime(int hour, int minute, int second, Date date);
    [[nodiscard]] Date setWeekday(int weekday, Date date);

private:
    void moveTo(Date date);
    [[nodiscard]] Date date() const;

    std::unique_ptr<icu::Calendar> calendar_;
};

/// `localtime_r` and `mktime`. Sets TZ for the whole process.
class PosixPeer {
public:
    explicit PosixPeer(const std::string& zone);

    [[nodiscard]] TimeComponents timeComponents(Date date);
    [[nodiscard]] int weekday(Date date);
    [[nodiscard]] Date setTime(int hour, int minute, int second, Date date);
    [[nodiscard]] Date setWeekday(int weekday, Date date);
};

/// Midnight of the day 24 hours later, as "tomorrow" is reckoned.
template <typename Peer>
[[nodiscard]] Date tomorrow(Peer& peer, Date date) {
    return peer.setTime(0, 0, 0, Date(date.timeIntervalSince1970() + 86'400));
}

}  // namespace quendokit::bench
