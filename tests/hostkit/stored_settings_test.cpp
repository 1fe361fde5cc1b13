/// \file
/// Settings as a file may hold them, whoever wrote it: nothing ends the process, and nothing in the file is lost.

#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/files/file_user_defaults.hpp"
#include "hostkit/day_plan_check.hpp"
#include "hostkit/guarded_user_defaults.hpp"
#include "quendokit/options/option_keys.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "tests/support/device_fixture.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {
namespace {

/// A value as JSON, and what a setting of each kind makes of it; absent for its default.
struct Row {
    std::string json;
    std::optional<std::int64_t> day;
    std::optional<std::int64_t> time;
    std::optional<std::int64_t> duration;
    std::optional<bool> boolean;
};

const std::vector<Row>& rows() {
    constexpr std::int64_t most = 9'223'372'036'854'775'807;
    static const std::vector<Row> rows{
        {"\"5\"", {}, {}, {}, {}},
        {"true", {}, {}, {}, true},
        {"2.0", {}, {}, {}, {}},
        {"-1", {}, {}, -1, {}},
        {"0", {}, 0, 0, {}},
        {"8", 1, 8, 8, {}},
        {"86399", 5, 86'399, 86'399, {}},
        {"86400", 6, 86'400, 86'400, {}},
        {"9223372036854775807", 7, {}, most, {}},
        {"9223372036854775808", {}, {}, {}, {}},
        {"null", {}, {}, {}, {}},
        {"[1, 2]", {}, {}, {}, {}},
        {"{\"a\": 1}", {}, {}, {}, {}},
        {"1e400", {}, {}, {}, {}},
        {"\"\"", {}, {}, {}, {}},
    };
    return rows;
}

class StoredSettings : public DeviceFixture {
protected:
    void put(const std::string& text) const { std::ofstream(file_) << text; }
    [[nodiscard]] std::string text() const {
        std::ostringstream all;
        all << std::ifstream(file_).rdbuf();
        return all.str();
    }

    /// Starts the program anew over the file.
    void start() {
        started_.reset();
        FileUserDefaultsOptions options;
        options.file = file_;
        options.onFailure = [this](const Error& error) { failures_.push_back(error.description); };
        platform::Services services = platform::services();
        services.userDefaults = std::make_shared<GuardedUserDefaults>(
            std::make_shared<FileUserDefaults>(std::move(options)), SettingsGuardOptions());
        started_.emplace(std::move(services));
    }

    /// Reads all settings and applies all presets at several times of a week.
    void useEverything() {
        const PresetController presets;
        for (const Day day : Day::All()) {
            for (const std::int64_t time : {std::int64_t{0}, hours(9), hours(23) + minutes(59)}) {
                itIs(onDay(day, time));
                const Date now = platform::clock().now();
                for (const Preset& preset : presets.presets()) {
                    static_cast<void>(preset.configuration(now));
                }
                static_cast<void>(presets.Short().configuration(now));
                static_cast<void>(DayPlanCheck().notificationCategory(now));
                static_cast<void>(Options::NextMorning() + Options::ThisMorning() + Options::TomorrowMorning());
                static_cast<void>(Options::Workdays());
                static_cast<void>(Options::HasMacApp());
                static_cast<void>(NotificationAction(NotificationAction::Short).name());
                static_cast<void>(NotificationAction(NotificationAction::Later).name());
            }
        }
    }

    const TemporaryFolder folder_;
    const std::filesystem::path file_ = folder_.path() / "settings.json";
    std::vector<std::string> failures_;

private:
    std::optional<platform::ScopedInstall> started_;
};

struct IntegerSetting {
    std::string_view key;
    std::int64_t (*get)();
    std::int64_t default_;
    std::optional<std::int64_t> Row::* expected;
};

TEST_F(StoredSettings, EveryKindOfValueUnderEveryKeyIsReadOrTakenForTheDefault) {
    const std::vector<IntegerSetting> settings{
        {OptionKeys::FirstWorkday, [] { return Options::FirstWorkday().rawValue(); }, 2, &Row::day},
        {OptionKeys::FirstWeekend, [] { return Options::FirstWeekend().rawValue(); }, 7, &Row::day},
        {OptionKeys::WorkdayMorning, Options::WorkdayMorning, 32'400, &Row::time},
        {OptionKeys::WeekendMorning, Options::WeekendMorning, 39'600, &Row::time},
        {OptionKeys::Afternoon, Options::Afternoon, 43'200, &Row::time},
        {OptionKeys::Evening, Options::Evening, 64'800, &Row::time},
        {OptionKeys::Later, Options::Later, 10'800, &Row::duration},
        {OptionKeys::Postpone, Options::Postpone, 1'200, &Row::duration},
    };
    for (const IntegerSetting& setting : settings) {
        for (const Row& row : rows()) {
            const std::string before = "{\"" + std::string(setting.key) + "\": " + row.json + "}";
            SCOPED_TRACE(before);
            put(before);
            start();
            EXPECT_EQ(setting.get(), (row.*setting.expected).value_or(setting.default_));
            useEverything();
            EXPECT_EQ(text(), before);
        }
    }
    EXPECT_EQ(failures_, std::vector<std::string>());
}

TEST_F(StoredSettings, OnlyABooleanTellsWhetherThePersonHasTheApplication) {
    for (const Row& row : rows()) {
        const std::string before = "{\"" + std::string(OptionKeys::MacAppPurchased) + "\": " + row.json + "}";
        SCOPED_TRACE(before);
        put(before);
        start();
        EXPECT_EQ(Options::HasMacApp(), row.boolean);
        EXPECT_EQ(text(), before);
    }
}

TEST_F(StoredSettings, OneValueUnderAllKeysAtOnce) {
    for (const Row& row : rows()) {
        std::string before = "{\"quendokit.options.unknown\": [null]";
        for (const std::string_view key : OptionKeys::All) {
            before += ", \"" + std::string(key) + "\": " + row.json;
        }
        before += "}";
        SCOPED_TRACE(before);
        put(before);
        start();
        useEverything();
        EXPECT_EQ(text(), before);
    }
    EXPECT_EQ(failures_, std::vector<std::string>());
}

TEST_F(StoredSettings, WritingOneKeyKeepsTheOddValuesOfOthers) {
    put(R"({"quendokit.options.later": null, "quendokit.options.evening": [1], "mine": 9223372036854775808})");
    start();
    Options::setPostpone(60);
    start();
    EXPECT_EQ(Options::Postpone(), 60);
    for (const char* kept : {"null", "[1]", "9223372036854775808"}) {
        EXPECT_NE(text().find(kept), std::string::npos) << text();
    }
}

TEST_F(StoredSettings, WithoutAFileEverySettingIsTheDefault) {
    start();
    EXPECT_EQ(Options::Evening(), 64'800);
    EXPECT_FALSE(Options::HasMacApp());
    useEverything();
    EXPECT_FALSE(std::filesystem::exists(file_));
    EXPECT_EQ(failures_, std::vector<std::string>());
}

}  // namespace
}  // namespace quendokit::testing
