// What the presets make of days on which the clocks change, in the zones that are known for it.

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/cctz/local_time_zone.hpp"
#include "quendokit/options/options.hpp"
#include "tests/presets/plan_fixture.hpp"
#include "tests/support/scoped_environment.hpp"

namespace quendokit::testing {
namespace {

class ClockChanges : public PlanFixture {
protected:
    /// Moves the device to `zone`.
    void be(const std::string& zone) { use(std::make_shared<LocalCalendar>(LocalTimeZone::make(zone))); }
    void use(const std::shared_ptr<const LocalCalendar>& place) {
        place_ = place;
        installed_.reset();
        platform::Services services = platform::services();
        services.calendar = place;
        installed_.emplace(std::move(services));
    }

    [[nodiscard]] Date local(const LocalDateTime& reading) const {
        return place_->zone()->locate(reading).value().date;
    }
    [[nodiscard]] std::string text(Date date) const { return place_->zone()->text(date).value(); }

    /// What the preset gives when it is that time there.
    [[nodiscard]] std::string givenAt(const Preset& preset, const LocalDateTime& now) {
        return text(PlanFixture::givenAt(preset, local(now)));
    }

private:
    std::shared_ptr<const LocalCalendar> place_;
    std::optional<platform::ScopedInstall> installed_;
};

TEST_F(ClockChanges, NextWeekIsMondayAfterASundayOf25Hours) {
    be("Europe/Berlin");
    const std::string monday = "2026-10-26T09:00:00+01:00";
    EXPECT_EQ(givenAt(presets.NextWeek(), {2026, 10, 21, 12, 0, 0}), monday);
    EXPECT_EQ(givenAt(presets.NextWeek(), {2026, 10, 24, 23, 30, 0}), monday);
    EXPECT_EQ(givenAt(presets.NextWeek(), {2026, 10, 25, 0, 15, 0}), monday);
    EXPECT_EQ(givenAt(presets.NextWeek(), {2026, 10, 25, 23, 45, 0}), monday);
}

TEST_F(ClockChanges, NextWeekIsMondayAfterASundayOf23Hours) {
    be("Europe/Berlin");
    const std::string monday = "2026-03-30T09:00:00+02:00";
    EXPECT_EQ(givenAt(presets.NextWeek(), {2026, 3, 25, 12, 0, 0}), monday);
    EXPECT_EQ(givenAt(presets.NextWeek(), {2026, 3, 28, 23, 30, 0}), monday);
    EXPECT_EQ(givenAt(presets.NextWeek(), {2026, 3, 29, 0, 15, 0}), monday);
    EXPECT_EQ(givenAt(presets.NextWeek(), {2026, 3, 29, 23, 45, 0}), monday);
}

TEST_F(ClockChanges, TomorrowIs24HoursAwayFromTheEveOfADayOf23Hours) {
    be("Europe/Berlin");
    const LocalDateTime eve{2026, 3, 28, 23, 30, 0};
    EXPECT_EQ(text(tomorrow(local(eve))), "2026-03-30T00:00:00+02:00");
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), eve), "2026-03-30T09:00:00+02:00");
    EXPECT_EQ(givenAt(presets.TomorrowAfternoon(), eve), "2026-03-30T14:00:00+02:00");
    EXPECT_EQ(givenAt(presets.TomorrowEvening(), eve), "2026-03-30T19:00:00+02:00");
    EXPECT_EQ(Options::TomorrowMorning(), hours(9));
}

TEST_F(ClockChanges, TomorrowIsTheSameDayInTheFirstHourOfADayOf25Hours) {
    be("Europe/Berlin");
    const LocalDateTime early{2026, 10, 25, 0, 15, 0};
    EXPECT_EQ(text(tomorrow(local(early))), "2026-10-25T00:00:00+02:00");
    EXPECT_EQ(givenAt(presets.TomorrowAfternoon(), early), "2026-10-25T14:00:00+01:00");
    EXPECT_EQ(givenAt(presets.TomorrowEvening(), early), "2026-10-25T19:00:00+01:00");
    // Sunday's own, as it is Sunday still 24 hours later.
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), early), "2026-10-25T10:00:00+01:00");
    EXPECT_EQ(Options::TomorrowMorning(), hours(10));
}

TEST_F(ClockChanges, ATimeInAGapIsTheFirstMomentAfterIt) {
    plan(OptionKeys::Afternoon, hours(2) + minutes(30));
    be("Europe/Berlin");
    EXPECT_EQ(givenAt(presets.ThisAfternoon(), {2026, 3, 29, 1, 0, 0}), "2026-03-29T03:00:00+02:00");
    EXPECT_EQ(givenAt(presets.TomorrowAfternoon(), {2026, 3, 28, 12, 0, 0}), "2026-03-29T03:00:00+02:00");
}

TEST_F(ClockChanges, OfATimeThatComesTwiceTheFirstIsMeant) {
    plan(OptionKeys::Afternoon, hours(2) + minutes(30));
    be("Europe/Berlin");
    EXPECT_EQ(givenAt(presets.ThisAfternoon(), {2026, 10, 25, 1, 0, 0}), "2026-10-25T02:30:00+02:00");
    // Once the first has passed, an hour from now, though the second lies ahead.
    const Date first = local({2026, 10, 25, 2, 30, 0});
    EXPECT_EQ(text(PlanFixture::givenAt(presets.ThisAfternoon(), first)), "2026-10-25T02:30:00+01:00");
    EXPECT_EQ(text(PlanFixture::givenAt(presets.ThisAfternoon(), first + minutes(10))), "2026-10-25T02:40:00+01:00");
}

TEST_F(ClockChanges, LordHoweSkipsHalfAnHour) {
    plan(OptionKeys::Evening, hours(2) + minutes(15));
    be("Australia/Lord_Howe");
    EXPECT_EQ(givenAt(presets.ThisEvening(), {2026, 10, 4, 1, 0, 0}), "2026-10-04T02:30:00+11:00");
    EXPECT_EQ(givenAt(presets.NextWeek(), {2026, 9, 30, 12, 0, 0}), "2026-10-05T09:00:00+11:00");
}

TEST_F(ClockChanges, AMissingMidnightIsOneOClock) {
    for (const std::int64_t midnight : {std::int64_t{0}, days(1)}) {
        plan(OptionKeys::Evening, midnight);
        // The day of the gap, or the one before it, whose surplus reaches into it.
        const Preset evening = midnight == 0 ? presets.TomorrowEvening() : presets.ThisEvening();
        be("Africa/Cairo");
        EXPECT_EQ(givenAt(evening, {2024, 4, 25, 18, 0, 0}), "2024-04-26T01:00:00+03:00");
        be("Asia/Beirut");
        EXPECT_EQ(givenAt(evening, {2026, 3, 28, 18, 0, 0}), "2026-03-29T01:00:00+03:00");
        be("America/Santiago");
        EXPECT_EQ(givenAt(evening, {2026, 9, 5, 18, 0, 0}), "2026-09-06T01:00:00-03:00");
    }
}

TEST_F(ClockChanges, ApiasMissingFridayIsPassedOver) {
    be("Pacific/Apia");
    const LocalDateTime thursday{2011, 12, 29, 18, 0, 0};
    EXPECT_EQ(givenAt(presets.TomorrowMorning(), thursday), "2011-12-31T10:00:00+14:00");
    EXPECT_EQ(givenAt(presets.ThisWeekend(), thursday), "2011-12-31T10:00:00+14:00");
    EXPECT_EQ(givenAt(presets.NextWeek(), thursday), "2012-01-02T09:00:00+14:00");
    plan(OptionKeys::FirstWeekend, Day::friday);
    EXPECT_EQ(givenAt(presets.ThisWeekend(), thursday), "2012-01-06T10:00:00+14:00");
}

TEST_F(ClockChanges, AZoneThatChangesWhileTheProgramRunsIsFollowed) {
    const ScopedEnvironment home("TZ", "Europe/Berlin");
    const auto device = std::make_shared<LocalCalendar>();
    use(device);
    const Preset evening = presets.ThisEvening();
    const Date now = local({2026, 11, 20, 12, 0, 0});
    EXPECT_EQ(text(PlanFixture::givenAt(evening, now)), "2026-11-20T19:00:00+01:00");
    EXPECT_EQ(presets.notificationCategory(now), NotificationCategory::Afternoon);

    const ScopedEnvironment away("TZ", "Asia/Tokyo");
    device->zoneChanged();
    EXPECT_EQ(text(PlanFixture::givenAt(evening, now)), "2026-11-20T21:00:00+09:00") << "it is 20:00 in Tokyo";
    EXPECT_EQ(presets.notificationCategory(now), NotificationCategory::Morning);
}

}  // namespace
}  // namespace quendokit::testing
