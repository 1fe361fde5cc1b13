#pragma once
/// \file
/// `PlanFixture`: a device with a day plan that differs from the defaults in every time.

#include <cstdint>
#include <string_view>

#include "quendokit/options/option_keys.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "tests/support/device_fixture.hpp"

namespace quendokit::testing {

/// Workdays begin at 9:00, weekend days at 10:00, afternoons at 14:00, evenings at 19:00; later is 3 hours, a short
/// postpone 10 minutes, the weekend Saturday and Sunday.
class PlanFixture : public DeviceFixture {
protected:
    PlanFixture() {
        plan(OptionKeys::WorkdayMorning, hours(9));
        plan(OptionKeys::WeekendMorning, hours(10));
        plan(OptionKeys::Afternoon, hours(14));
        plan(OptionKeys::Evening, hours(19));
        plan(OptionKeys::Later, hours(3));
        plan(OptionKeys::Postpone, minutes(10));
    }

    void plan(std::string_view key, std::int64_t value) { defaults->set(key, value); }
    void plan(std::string_view key, Day day) { defaults->set(key, day.rawValue()); }

    /// What the preset gives for `date`, which must be a moment.
    [[nodiscard]] static Date given(const Preset& preset, Date date) {
        const auto result = preset.configuration(date).date();
        EXPECT_TRUE(result);
        return result.value_or(Date(0));
    }
    /// What it gives when `now` is both the time on the clock and the moment to start from.
    [[nodiscard]] Date givenAt(const Preset& preset, Date now) {
        itIs(now);
        return given(preset, now);
    }

    const PresetController presets{};
};

}  // namespace quendokit::testing
