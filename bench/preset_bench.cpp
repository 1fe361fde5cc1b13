/// \file
/// The presets, the categories and the date operations as a program calls them: over the system's clock, the zone data
/// of a place that changes its clocks, and settings in a file. "now", "a setting" and "the weekend" are what they are
/// made of.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "adapters/cctz/local_calendar.hpp"
#include "adapters/cctz/local_time_zone.hpp"
#include "adapters/event_loop/system_clock.hpp"
#include "adapters/files/file_user_defaults.hpp"
#include "quendokit/model/date_operations.hpp"
#include "quendokit/options/option_keys.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/presets/preset_controller.hpp"
#include "testing/in_memory_bundle.hpp"
#include "testing/in_memory_ubiquitous_store.hpp"
#include "testing/recording_notification_center.hpp"

namespace quendokit::bench {
namespace {

namespace fs = std::filesystem;

/// A program with a day plan in its settings. Texts and cloud are asked once, or never, and may be doubles.
class Program {
public:
    Program() {
        platform::Services services;
        services.clock = std::make_shared<SystemClock>();
        services.calendar = std::make_shared<LocalCalendar>(LocalTimeZone::make("Europe/Berlin"));
        services.userDefaults = makeSettings();
        services.bundleProvider =
            std::make_shared<testing::InMemoryBundleProvider>(testing::InMemoryBundleProvider::Bundles{
                {"net.example.quendokit", std::make_shared<testing::InMemoryBundle>()}});
        services.ubiquitousKeyValueStore = std::make_shared<testing::InMemoryUbiquitousStore>();
        services.notificationCenter = std::make_shared<testing::RecordingNotificationCenter>();
        services.FrameworkBundleIdentifier = "net.example.quendokit";
        platform::install(services);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

private:
    std::shared_ptr<UserDefaults> makeSettings() {
        std::string name = (fs::temp_directory_path() / "quendokit-bench-XXXXXX").string();
        folder_ = mkdtemp(name.data());
        auto settings = std::make_shared<FileUserDefaults>(FileUserDefaultsOptions{.file = folder_ / "settings.json"});
        settings->set(OptionKeys::FirstWorkday, std::int64_t{2});
        settings->set(OptionKeys::FirstWeekend, std::int64_t{7});
        settings->set(OptionKeys::WorkdayMorning, hours(9));
        settings->set(OptionKeys::WeekendMorning, hours(10));
        settings->set(OptionKeys::Afternoon, hours(14));
        settings->set(OptionKeys::Evening, hours(19));
        settings->set(OptionKeys::Later, hours(3));
        settings->set(OptionKeys::Postpone, minutes(10));
        return settings;
    }

    fs::path folder_;
};

Date now() {
    return platform::clock().now();
}

/// From the controller's property to the moment.
template <Preset (PresetController::*preset)() const>
void onePreset(benchmark::State& state) {
    const PresetController presets;
    const Date date = now();
    for (auto _ : state) {
        benchmark::DoNotOptimize((presets.*preset)().configuration(date));
    }
}

/// Only the rule of a preset that a program holds.
template <Preset (PresetController::*preset)() const>
void oneRule(benchmark::State& state) {
    const Preset held = (PresetController().*preset)();
    const Date date = now();
    for (auto _ : state) {
        benchmark::DoNotOptimize(held.configuration(date));
    }
}

void allPresets(benchmark::State& state) {
    const PresetController presets;
    const Date date = now();
    for (auto _ : state) {
        for (const Preset& preset : presets.presets()) {
            benchmark::DoNotOptimize(preset.configuration(date));
        }
    }
}

void category(benchmark::State& state) {
    const PresetController presets;
    const Date date = now();
    for (auto _ : state) {
        benchmark::DoNotOptimize(presets.notificationCategory(date));
    }
}

void readClock(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(now());
    }
}

void readSetting(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Options::Evening());
    }
}

void readWeekend(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Options::Weekend());
    }
}

template <auto operation>
void ofNow(benchmark::State& state) {
    const Date date = now();
    for (auto _ : state) {
        benchmark::DoNotOptimize(operation(date));
    }
}

BENCHMARK(onePreset<&PresetController::Later>)->Name("preset/later");
BENCHMARK(onePreset<&PresetController::ThisAfternoon>)->Name("preset/this afternoon");
BENCHMARK(onePreset<&PresetController::ThisEvening>)->Name("preset/this evening");
BENCHMARK(onePreset<&PresetController::TomorrowMorning>)->Name("preset/tomorrow morning");
BENCHMARK(onePreset<&PresetController::TomorrowAfternoon>)->Name("preset/tomorrow afternoon");
BENCHMARK(onePreset<&PresetController::TomorrowEvening>)->Name("preset/tomorrow evening");
BENCHMARK(onePreset<&PresetController::ThisWeekend>)->Name("preset/this weekend");
BENCHMARK(onePreset<&PresetController::NextWeek>)->Name("preset/next week");
BENCHMARK(onePreset<&PresetController::Short>)->Name("preset/short");
BENCHMARK(oneRule<&PresetController::TomorrowMorning>)->Name("rule alone/tomorrow morning");
BENCHMARK(oneRule<&PresetController::ThisWeekend>)->Name("rule alone/this weekend");
BENCHMARK(allPresets)->Name("all ten presets");
BENCHMARK(category)->Name("category");
BENCHMARK(readClock)->Name("now");
BENCHMARK(readSetting)->Name("a setting");
BENCHMARK(readWeekend)->Name("the weekend");
BENCHMARK(ofNow<[](Date date) { return time(date); }>)->Name("time");
BENCHMARK(ofNow<[](Date date) { return weekday(date); }>)->Name("weekday");
BENCHMARK(ofNow<[](Date date) { return at(date, hours(19)); }>)->Name("at");
BENCHMARK(ofNow<[](Date date) { return tomorrow(date); }>)->Name("tomorrow");
BENCHMARK(ofNow<[](Date date) { return on(date, 7); }>)->Name("on");

}  // namespace
}  // namespace quendokit::bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    const quendokit::bench::Program program;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
