#include "quendokit/presets/preset_controller.hpp"

#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/presets/plan_fixture.hpp"

namespace quendokit::testing {
namespace {

class PresetControllerTest : public PlanFixture {};

using Named = std::vector<std::pair<std::string, PresetType>>;

Named namesAndTypes(const std::vector<Preset>& presets) {
    Named result;
    for (const Preset& preset : presets) {
        result.emplace_back(preset.name, preset.type);
    }
    return result;
}

TEST_F(PresetControllerTest, ThereAreTenInAFixedOrder) {
    EXPECT_EQ(namesAndTypes(presets.presets()), (Named{{"later", PresetType::later},
                                                       {"This Afternoon", PresetType::afternoon},
                                                       {"This Evening", PresetType::evening},
                                                       {"Tomorrow Morning", PresetType::morning},
                                                       {"Tomorrow Afternoon", PresetType::afternoon},
                                                       {"Tomorrow Evening", PresetType::evening},
                                                       {"This Weekend", PresetType::weekend},
                                                       {"Next Week", PresetType::week},
                                                       {"Pick a Date", PresetType::custom},
                                                       {"On My Mac", PresetType::mac}}));
}

TEST_F(PresetControllerTest, EachPresetOfTheListIsTheOneOfThatName) {
    const Date now = onDay(Day::wednesday, hours(8));
    itIs(now);
    const std::vector<Preset> single{presets.Later(),           presets.ThisAfternoon(),     presets.ThisEvening(),
                                     presets.TomorrowMorning(), presets.TomorrowAfternoon(), presets.TomorrowEvening(),
                                     presets.ThisWeekend(),     presets.NextWeek(),          presets.Custom()};
    const std::vector<Preset> listed = presets.presets();
    for (std::size_t i = 0; i < single.size(); ++i) {
        EXPECT_EQ(listed[i].name, single[i].name);
        EXPECT_EQ(listed[i].type, single[i].type);
        EXPECT_EQ(given(listed[i], now), given(single[i], now)) << single[i].name;
    }
    EXPECT_EQ(listed.back().configuration(now), ReminderCondition::device(DeviceType::mac));
}

TEST_F(PresetControllerTest, NothingIsFilteredAtAnyHourOfAnyDay) {
    const Named always = namesAndTypes(presets.presets());
    for (const Day day : Day::All()) {
        for (std::int64_t hour = 0; hour < 24; ++hour) {
            itIs(onDay(day, hours(hour)));
            EXPECT_EQ(namesAndTypes(presets.presets()), always);
        }
    }
    plan(OptionKeys::FirstWorkday, Day::saturday);
    EXPECT_EQ(namesAndTypes(presets.presets()), always);
}

TEST_F(PresetControllerTest, ShortHasNoNameAndIsNotListed) {
    EXPECT_EQ(presets.Short().name, "");
    EXPECT_EQ(presets.Short().type, PresetType::custom);
    for (const Preset& preset : presets.presets()) {
        EXPECT_NE(preset.name, "");
    }
    EXPECT_EQ(bundle->lookUpCount(""), 0U);
}

TEST_F(PresetControllerTest, RemindMakesAReminderThatWasNeverStored) {
    const Date now = onDay(Day::wednesday, hours(8));
    itIs(now);
    const ReminderStruct reminder = presets.ThisEvening().remind("Call the bank", now);
    EXPECT_FALSE(reminder.id());
    EXPECT_EQ(reminder.title(), "Call the bank");
    EXPECT_FALSE(reminder.shown());
    ASSERT_TRUE(reminder.condition().date());
    EXPECT_EQ(*reminder.condition().date(), onDay(Day::wednesday, hours(19)));
}

TEST_F(PresetControllerTest, APresetOutlivesTheControllerThatMadeIt) {
    const Date now = onDay(Day::wednesday, hours(8));
    itIs(now);
    const Preset preset = PresetController().ThisEvening();
    EXPECT_EQ(given(preset, now), onDay(Day::wednesday, hours(19)));
}

TEST_F(PresetControllerTest, AHostMakesPresetsOfItsOwn) {
    const Preset own("In Two Days", PresetType::custom,
                     [](Date date) { return ReminderCondition::dateTime(date + days(2)); });
    EXPECT_EQ(own.name, "In Two Days");
    EXPECT_EQ(own.type, PresetType::custom);
    EXPECT_EQ(own.remind("x", Date(5)).condition().date(), Date(172'805));
}

TEST_F(PresetControllerTest, EveryButtonAppliesAPreset) {
    const Date now = onDay(Day::wednesday, hours(8));
    itIs(now);
    const std::vector<std::pair<NotificationAction, Preset>> expected{
        {NotificationAction::Short, presets.Short()},
        {NotificationAction::Later, presets.Later()},
        {NotificationAction::Morning, presets.TomorrowMorning()},
        {NotificationAction::Afternoon, presets.ThisAfternoon()},
        {NotificationAction::Evening, presets.ThisEvening()},
    };
    for (const auto& [action, preset] : expected) {
        const Preset applied = presets.postpone(action);
        EXPECT_EQ(applied.name, preset.name);
        EXPECT_EQ(applied.type, preset.type);
        EXPECT_EQ(given(applied, now), given(preset, now)) << action.rawValue();
    }
}

TEST_F(PresetControllerTest, EveryIndexHasAnEventName) {
    std::vector<std::string> names;
    for (std::int64_t index = 0; index < 10; ++index) {
        names.emplace_back(presets.eventName(index));
    }
    EXPECT_EQ(names, (std::vector<std::string>{"added_later", "added_this_afternoon", "added_this_evening",
                                               "added_tomorrow_morning", "added_tomorrow_afternoon",
                                               "added_tomorrow_evening", "added_this_weekend", "added_next_week",
                                               "added_custom_date", "added_on_my_mac"}));
    for (const std::int64_t other : {std::int64_t{10}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::max(),
                                     std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_EQ(presets.eventName(other), "!? added_mystery") << other;
    }
}

TEST_F(PresetControllerTest, NamesAreLookedUpOnceWithTheCommentForTranslators) {
    const std::vector<std::pair<const std::string& (*)(), std::string>> names{
        {PresetController::Names::ThisAfternoon, "This Afternoon"},
        {PresetController::Names::ThisEvening, "This Evening"},
        {PresetController::Names::TomorrowMorning, "Tomorrow Morning"},
        {PresetController::Names::TomorrowAfternoon, "Tomorrow Afternoon"},
        {PresetController::Names::TomorrowEvening, "Tomorrow Evening"},
        {PresetController::Names::ThisWeekend, "This Weekend"},
        {PresetController::Names::NextWeek, "Next Week"},
        {PresetController::Names::Custom, "Pick a Date"},
        {PresetController::Names::Mac, "On My Mac"},
    };
    static_cast<void>(presets.presets());
    static_cast<void>(presets.presets());
    for (const auto& [name, text] : names) {
        EXPECT_EQ(name(), text);
        EXPECT_EQ(bundle->comments(text), std::vector<std::string>{text});
    }
    EXPECT_EQ(PresetController::Names::Later(), "later");
    EXPECT_EQ(bundle->comments("later"), std::vector<std::string>{"the word 'later'"});
}

}  // namespace
}  // namespace quendokit::testing
