#include "quendokit/presets/notification_action.hpp"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quendokit/options/option_keys.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/presets/notification_category.hpp"
#include "tests/support/device_fixture.hpp"

namespace quendokit::testing {
namespace {

const std::vector<NotificationAction> all{NotificationAction::Short, NotificationAction::Later,
                                          NotificationAction::Morning, NotificationAction::Afternoon,
                                          NotificationAction::Evening};

TEST(NotificationAction, IdentifiersAndEventsAreAStoredFormat) {
    std::vector<std::string> lines;
    for (const NotificationAction action : all) {
        lines.push_back(std::string(action.rawValue()) + " " + std::string(action.event()));
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"quendo.postpone.action.short postpone_short",
                                               "quendo.postpone.action.later postpone_later",
                                               "quendo.postpone.action.morning postpone_morning",
                                               "quendo.postpone.action.afternoon postpone_afternoon",
                                               "quendo.postpone.action.evening postpone_evening"}));
}

TEST(NotificationAction, IsFoundByItsExactIdentifierOnly) {
    for (const NotificationAction action : all) {
        EXPECT_EQ(NotificationAction::fromRawValue(action.rawValue()), action);
    }
    for (const std::string& other :
         {std::string(), std::string("later"), std::string("quendo.postpone.action.Later"),
          std::string("Quendo.postpone.action.later"), std::string("quendo.postpone.action.later "),
          std::string("quendo.postpone.action.late"), std::string("quendo.postpone.category.morning"),
          std::string("quendo.postpone.action.later\0", 29), std::string(1'000'000, 'x')}) {
        EXPECT_FALSE(NotificationAction::fromRawValue(other)) << other.substr(0, 60);
    }
}

TEST(NotificationAction, IsHashable) {
    EXPECT_EQ(std::unordered_set<NotificationAction>(all.begin(), all.end()).size(), 5U);
}

TEST(NotificationCategory, IdentifiersAreAStoredFormatAndEachHasAButton) {
    const std::vector<NotificationCategory> categories{NotificationCategory::Morning, NotificationCategory::Afternoon,
                                                       NotificationCategory::Evening};
    std::vector<std::string> lines;
    for (const NotificationCategory category : categories) {
        lines.push_back(std::string(category.rawValue()) + " " + std::string(category.action().rawValue()));
        EXPECT_EQ(NotificationCategory::fromRawValue(category.rawValue()), category);
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"quendo.postpone.category.morning quendo.postpone.action.morning",
                                               "quendo.postpone.category.afternoon quendo.postpone.action.afternoon",
                                               "quendo.postpone.category.evening quendo.postpone.action.evening"}));
    EXPECT_EQ(std::unordered_set<NotificationCategory>(categories.begin(), categories.end()).size(), 3U);
    for (const char* other : {"", "morning", "quendo.postpone.category.Morning", "quendo.postpone.action.morning"}) {
        EXPECT_FALSE(NotificationCategory::fromRawValue(other)) << other;
    }
}

class NotificationActionName : public DeviceFixture {
protected:
    std::string shortName(std::int64_t postpone) {
        defaults->set(OptionKeys::Postpone, postpone);
        return NotificationAction(NotificationAction::Short).name();
    }
    std::string laterName(std::int64_t later) {
        defaults->set(OptionKeys::Later, later);
        return NotificationAction(NotificationAction::Later).name();
    }
};

TEST_F(NotificationActionName, OfShortCountsMinutesWithThePluralWordUpToAnHour) {
    EXPECT_EQ(NotificationAction(NotificationAction::Short).name(), "20 minutes");
    EXPECT_EQ(shortName(600), "10 minutes");
    EXPECT_EQ(shortName(60), "1 minutes");
    EXPECT_EQ(shortName(119), "1 minutes");
    EXPECT_EQ(shortName(59), "0 minutes");
    EXPECT_EQ(shortName(0), "0 minutes");
    EXPECT_EQ(shortName(-59), "0 minutes");
    EXPECT_EQ(shortName(-60), "-1 minutes");
    EXPECT_EQ(shortName(3'599), "59 minutes");
}

TEST_F(NotificationActionName, OfShortIsOneHourFromAnHourOn) {
    EXPECT_EQ(shortName(3'600), "1 hour");
    EXPECT_EQ(shortName(7'200), "1 hour");
    EXPECT_EQ(shortName(std::numeric_limits<std::int64_t>::max()), "1 hour");
}

TEST_F(NotificationActionName, OfLaterCountsWholeHoursAndOneIsSingular) {
    EXPECT_EQ(NotificationAction(NotificationAction::Later).name(), "3 hours");
    EXPECT_EQ(laterName(10'800), "3 hours");
    EXPECT_EQ(laterName(3'600), "1 hour");
    EXPECT_EQ(laterName(5'400), "1 hour");
    EXPECT_EQ(laterName(7'199), "1 hour");
    EXPECT_EQ(laterName(7'200), "2 hours");
    EXPECT_EQ(laterName(3'599), "0 hours");
    EXPECT_EQ(laterName(1'800), "0 hours");
    EXPECT_EQ(laterName(-3'600), "-1 hours");
    EXPECT_EQ(laterName(7'200'000 * std::int64_t{3'600}), "7200000 hours");
}

TEST_F(NotificationActionName, OfTheOthersIsThePartOfTheDay) {
    EXPECT_EQ(NotificationAction(NotificationAction::Morning).name(), "Morning");
    EXPECT_EQ(NotificationAction(NotificationAction::Afternoon).name(), "Afternoon");
    EXPECT_EQ(NotificationAction(NotificationAction::Evening).name(), "Evening");
}

class TranslatedActionName : public DeviceFixture {
protected:
    TranslatedActionName() {
        platform::Services services = platform::services();
        services.bundleProvider = std::make_shared<InMemoryBundleProvider>(InMemoryBundleProvider::Bundles{
            {services.FrameworkBundleIdentifier,
             std::make_shared<InMemoryBundle>(InMemoryBundle::Translations{
                 {"minutes", "Min."}, {"hour", "Stunde"}, {"hours", "Stunden"}, {"Evening", "Abend"}})}});
        german.emplace(std::move(services));
    }
    std::optional<platform::ScopedInstall> german;
};

TEST_F(TranslatedActionName, IsMadeOfTheWordsOfTheLanguage) {
    EXPECT_EQ(NotificationAction(NotificationAction::Short).name(), "20 Min.");
    EXPECT_EQ(NotificationAction(NotificationAction::Later).name(), "3 Stunden");
    Options::setLater(hours(1));
    Options::setPostpone(hours(1));
    EXPECT_EQ(NotificationAction(NotificationAction::Short).name(), "1 Stunde");
    EXPECT_EQ(NotificationAction(NotificationAction::Later).name(), "1 Stunde");
    EXPECT_EQ(NotificationAction(NotificationAction::Evening).name(), "Abend");
}

}  // namespace
}  // namespace quendokit::testing
