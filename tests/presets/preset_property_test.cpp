// The presets, the categories, the mornings and the date operations, over the calendar of the device's zone data,
// against plain rules over `localtime_r`: in every zone, around every change of the clocks.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/cctz/local_time_zone.hpp"
#include "quendokit/model/date_operations.hpp"
#include "quendokit/model/day.hpp"
#include "quendokit/options/option_keys.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "quendokit/presets/preset_rules_internal.hpp"
#include "testing/in_memory_bundle.hpp"
#include "testing/in_memory_ubiquitous_store.hpp"
#include "testing/in_memory_user_defaults.hpp"
#include "testing/manual_clock.hpp"
#include "testing/manual_run_loop_provider.hpp"
#include "testing/recording_notification_center.hpp"
#include "tests/presets/plain_calendar.hpp"
#include "tests/presets/plain_rules.hpp"
#include "tests/presets/random_case.hpp"
#include "tests/support/property.hpp"

namespace quendokit {
namespace {

using testing::PlainCalendar;
using testing::PlainPlan;
using testing::PlainRules;
using testing::RandomCase;
using testing::RandomCases;

/// In all zones together.
constexpr std::size_t caseCount = 100'000;
/// More tell nothing new.
constexpr std::size_t mostDifferences = 5;

/// The device that the engine runs on, in one zone.
class Device {
public:
    explicit Device(const std::string& zone) : installed_(makeServices(zone)) {}

    /// Turns the clock to the moment of `value` and takes over its settings.
    void be(const RandomCase& value) {
        clock_->set(Date(value.now));
        for (const std::string_view key : OptionKeys::All) {
            const auto setting = value.settings.find(key);
            if (setting == value.settings.end()) {
                defaults_->remove(key);
            } else {
                defaults_->set(key, setting->second);
            }
        }
    }

    /// What stands in the settings after `time` was written to one of them.
    [[nodiscard]] std::int64_t written(std::int64_t time) {
        Options::setEvening(time);
        return defaults_->integer(OptionKeys::Evening).value();
    }

private:
    [[nodiscard]] platform::Services makeServices(const std::string& zone) const {
        platform::Services services;
        services.clock = clock_;
        services.calendar = std::make_shared<LocalCalendar>(LocalTimeZone::make(zone));
        services.bundleProvider =
            std::make_shared<testing::InMemoryBundleProvider>(testing::InMemoryBundleProvider::Bundles{
                {"net.example.quendokit", std::make_shared<testing::InMemoryBundle>()}});
        services.userDefaults = defaults_;
        services.ubiquitousKeyValueStore = std::make_shared<testing::InMemoryUbiquitousStore>();
        services.notificationCenter = std::make_shared<testing::RecordingNotificationCenter>();
        services.runLoopProvider = std::make_shared<testing::ManualRunLoopProvider>();
        services.FrameworkBundleIdentifier = "net.example.quendokit";
        return services;
    }

    const std::shared_ptr<testing::ManualClock> clock_ = std::make_shared<testing::ManualClock>();
    const std::shared_ptr<testing::InMemoryUserDefaults> defaults_ = std::make_shared<testing::InMemoryUserDefaults>();
    const platform::ScopedInstall installed_;
};

/// A moment in seconds, and what the clocks of the process show then, for a person who looks into a difference.
std::string described(double seconds) {
    const auto moment = static_cast<std::time_t>(std::floor(seconds));
    std::tm fields{};
    std::array<char, 64> shown{};
    if (::localtime_r(&moment, &fields) != nullptr) {
        std::strftime(shown.data(), shown.size(), " (%a %F %T %z)", &fields);
    }
    std::ostringstream text;
    text << std::fixed << std::setprecision(6) << seconds << shown.data();
    return text.str();
}

/// Compares answers and writes down those that differ.
class Differences {
public:
    void compare(std::string_view rule, Date engine, double plain) {
        if (engine.timeIntervalSince1970() != plain) {
            text_ << rule << ": " << described(engine.timeIntervalSince1970()) << ", plainly " << described(plain)
                  << "\n";
        }
    }
    void compare(std::string_view rule, const Preset& preset, const RandomCase& value, double plain) {
        compare(rule, preset.configuration(Date(value.date)).date().value(), plain);
    }
    void compare(std::string_view rule, std::int64_t engine, std::int64_t plain) {
        if (engine != plain) {
            text_ << rule << ": " << engine << ", plainly " << plain << "\n";
        }
    }
    void compare(std::string_view rule, std::string_view engine, std::string_view plain) {
        if (engine != plain) {
            text_ << rule << ": " << engine << ", plainly " << plain << "\n";
        }
    }

    [[nodiscard]] std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
};

void compareOperations(Differences& differences, const PlainRules& plain, const RandomCase& value, double seconds) {
    const Date date(seconds);
    differences.compare("time", time(date), plain.time(seconds));
    differences.compare("timeWithoutSeconds", timeWithoutSeconds(date), plain.timeWithoutSeconds(seconds));
    differences.compare("weekday", weekday(date), plain.weekday(seconds));
    differences.compare("at", at(date, value.time), plain.at(seconds, value.time));
    differences.compare("tomorrow", tomorrow(date), plain.tomorrow(seconds));
    differences.compare("on", on(date, value.weekday), plain.on(seconds, value.weekday));
}

void comparePresets(Differences& differences, const PlainRules& plain, const RandomCase& value) {
    const PresetController presets;
    const double date = value.date;
    differences.compare("Later", presets.Later(), value, plain.later(date));
    differences.compare("ThisAfternoon", presets.ThisAfternoon(), value, plain.thisAfternoon(date));
    differences.compare("ThisEvening", presets.ThisEvening(), value, plain.thisEvening(date));
    differences.compare("TomorrowMorning", presets.TomorrowMorning(), value, plain.tomorrowMorning(date));
    differences.compare("TomorrowAfternoon", presets.TomorrowAfternoon(), value, plain.tomorrowAfternoon(date));
    differences.compare("TomorrowEvening", presets.TomorrowEvening(), value, plain.tomorrowEvening(date));
    differences.compare("ThisWeekend", presets.ThisWeekend(), value, plain.thisWeekend(date));
    differences.compare("NextWeek", presets.NextWeek(), value, plain.nextWeek(date));
    differences.compare("Custom", presets.Custom(), value, date);
    differences.compare("Short", presets.Short(), value, plain.shortPostpone(date));
    EXPECT_EQ(presets.Mac().configuration(Date(date)).deviceType(), DeviceType::mac);
    // The engine refuses a plan that has two parts of the day begin at once.
    if (const auto category = plain.category(date)) {
        differences.compare("notificationCategory", presets.notificationCategory(Date(date)).rawValue(), *category);
    }
}

/// The rules on weekends that no settings say.
void compareOtherWeekend(Differences& differences, const PlainRules& plain, const RandomCase& value) {
    std::vector<Day> weekend;
    for (const int day : value.weekend) {
        weekend.push_back(Day::fromRawValue(day).value());
    }
    const Date date(value.date);
    differences.compare("tomorrowMorning(weekend)", preset_rules::tomorrowMorning(date, weekend),
                        plain.tomorrowMorning(value.date));
    differences.compare("thisWeekend(weekend)", preset_rules::thisWeekend(date, weekend),
                        plain.thisWeekend(value.date));
    differences.compare("nextWeek(weekend)", preset_rules::nextWeek(date, weekend), plain.nextWeek(value.date));
}

/// What the engine and the plain rules answer differently; empty when nothing.
std::string differencesIn(const RandomCase& value, const PlainCalendar& calendar, Device& device) {
    const PlainPlan plan(value.settings);
    const PlainRules plain(calendar, plan, value.now);
    device.be(value);

    Differences differences;
    compareOperations(differences, plain, value, value.date);
    compareOperations(differences, plain, value, value.now);
    comparePresets(differences, plain, value);
    compareOtherWeekend(differences, PlainRules(calendar, plan, value.now, value.weekend), value);
    differences.compare("ThisMorning", Options::ThisMorning(), plain.thisMorningTime());
    differences.compare("TomorrowMorning", Options::TomorrowMorning(), plain.tomorrowMorningTime());
    differences.compare("NextMorning", Options::NextMorning(), plain.nextMorningTime());
    // Last, because it changes the settings.
    differences.compare("setEvening", device.written(value.negativeTime), plain.stored(value.negativeTime));
    return differences.text();
}

std::string described(const RandomCase& value, const std::string& zone) {
    std::ostringstream text;
    text << "in " << zone << "\nnow:  " << described(value.now) << "\ndate: " << described(value.date)
         << "\ntime: " << value.time << ", weekday: " << value.weekday << ", written: " << value.negativeTime
         << "\nanother weekend:";
    for (const int day : value.weekend) {
        text << ' ' << day;
    }
    for (const auto& [key, setting] : value.settings) {
        const auto* integer = std::get_if<std::int64_t>(&setting);
        text << '\n' << key << ": " << (integer != nullptr ? std::to_string(*integer) : "no integer");
    }
    return text.str();
}

/// The zones in four parts, so that they are tested side by side. The parameter is a remainder.
class PresetsInEveryZone : public ::testing::TestWithParam<std::size_t> {};

constexpr std::size_t partCount = 4;

INSTANTIATE_TEST_SUITE_P(Part, PresetsInEveryZone, ::testing::Range<std::size_t>(0, partCount));

TEST_P(PresetsInEveryZone, AgreeWithPlainRulesAroundEveryChangeOfTheClocks) {
    std::mt19937_64 random(testing::propertySeed());
    const std::vector<std::string> zones = testing::everyZoneName();
    ASSERT_GT(zones.size(), 400U);
    const std::size_t share = caseCount / zones.size() + 1;

    std::size_t cases = 0;
    std::size_t found = 0;
    for (std::size_t i = GetParam(); i < zones.size() && found < mostDifferences; i += partCount) {
        const PlainCalendar calendar(zones[i]);
        Device device(zones[i]);
        RandomCases make(random, calendar);
        const auto& changes = calendar.changes();
        // Each change once, then any of them or any other moment.
        for (std::size_t k = 0; k < std::max(share, changes.size()) && found < mostDifferences; ++k, ++cases) {
            const bool isAround = k < changes.size() || (!changes.empty() && random() % 4 != 0);
            const RandomCase value = isAround ? make.around(changes[k % changes.size()]) : make.anywhere();
            if (const std::string differences = differencesIn(value, calendar, device); !differences.empty()) {
                ADD_FAILURE() << described(value, zones[i]) << "\n" << differences;
                ++found;
            }
        }
    }
    std::cout << cases << " cases\n";
}

}  // namespace
}  // namespace quendokit
