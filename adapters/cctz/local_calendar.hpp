#pragma once
/// \file
/// `LocalCalendar`, the calendar of this device or of a place.

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "quendokit/platform/calendar.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

class LocalTimeZone;

/// A calendar by the system's zone data, in the device's zone or in one that it is given.
///
/// Any thread; answers take no lock. Those from 1900 to 2100 are read from a table of the zone's changes and take
/// nanoseconds; others are computed. The tables of all zones that the device was in are kept with the calendar, some
/// 12 KB each.
class QUENDOKIT_EXPORT LocalCalendar final : public Calendar {
public:
    /// In the zone that `LocalTimeZone::current()` answers, until `zoneChanged` finds another one.
    LocalCalendar();
    /// In `zone` for ever. Fatal if null.
    explicit LocalCalendar(std::shared_ptr<const LocalTimeZone> zone);
    ~LocalCalendar() override;

    [[nodiscard]] std::optional<TimeComponents> timeComponents(Date date) const override;
    [[nodiscard]] std::optional<int> weekday(Date date) const override;
    [[nodiscard]] std::optional<Date> dateBySettingHour(int hour, std::int64_t minute, int second,
                                                        Date ofDate) const override;
    [[nodiscard]] std::optional<Date> dateBySettingWeekday(int weekday, Date ofDate) const override;

    /// To be called when the device's zone may be another one, or its rules: asks `LocalTimeZone::current()` again.
    /// Answers that begin after it returned are in the zone it found. Without effect in a calendar that was given its
    /// zone. Any thread, as long as no other thread changes the environment meanwhile.
    void zoneChanged();

    /// The zone of the answers, with the rules by which they are given. Never null.
    [[nodiscard]] std::shared_ptr<const LocalTimeZone> zone() const;

private:
    class Place;

    /// One thread at a time.
    void moveTo(std::shared_ptr<const LocalTimeZone> zone);

    const bool followsDevice_;
    /// Where answers are looked up, one of `places_`.
    std::atomic<const Place*> place_ = nullptr;
    /// Guards `places_`, which only grows, because an answer may still be under way in an old place.
    std::mutex mutex_;
    std::vector<std::unique_ptr<const Place>> places_;
};

}  // namespace quendokit
