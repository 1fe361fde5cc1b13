/// \file
/// Reading and writing the settings in a file: a read alone, the six reads of a preset, a write of a changed value and
/// of an unchanged one. Beside them what the parts cost: a look-up in a plain map under no lock, and an `fsync`ed file.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "adapters/files/file_user_defaults.hpp"
#include "quendokit/options/option_keys.hpp"

namespace quendokit::bench {
namespace {

namespace fs = std::filesystem;

/// Settings as a device has them after a while: the nine options, a version, a change token.
class Settings {
public:
    Settings() {
        std::string name = (fs::temp_directory_path() / "quendokit-bench-XXXXXX").string();
        folder_ = mkdtemp(name.data());
        defaults = std::make_unique<FileUserDefaults>(FileUserDefaultsOptions{.file = folder_ / "settings.json"});
        for (const std::string_view key : OptionKeys::All) {
            defaults->set(key, std::int64_t{43'200});
        }
        defaults->set(OptionKeys::MacAppPurchased, true);
        defaults->set("net.example.quendokit.last-run-version", "1.2.3");
        defaults->set("net.example.quendokit.sync.change-token", std::vector<std::byte>(300));
    }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;
    ~Settings() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

    std::unique_ptr<FileUserDefaults> defaults;

private:
    fs::path folder_;
};

std::int64_t integer(const UserDefaults& defaults, std::string_view key) {
    const auto value = defaults.object(key);
    const auto* integer = value ? std::get_if<std::int64_t>(&*value) : nullptr;
    return integer == nullptr ? 0 : *integer;
}

void readOne(benchmark::State& state) {
    const Settings settings;
    const UserDefaults& defaults = *settings.defaults;
    for (auto _ : state) {
        benchmark::DoNotOptimize(integer(defaults, OptionKeys::Evening));
    }
}

void readSix(benchmark::State& state) {
    const Settings settings;
    const UserDefaults& defaults = *settings.defaults;
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (const std::string_view key :
             {OptionKeys::FirstWorkday, OptionKeys::FirstWeekend, OptionKeys::WorkdayMorning,
              OptionKeys::WeekendMorning, OptionKeys::Afternoon, OptionKeys::Evening}) {
            sum += integer(defaults, key);
        }
        benchmark::DoNotOptimize(sum);
    }
}

void readAbsent(benchmark::State& state) {
    const Settings settings;
    const UserDefaults& defaults = *settings.defaults;
    for (auto _ : state) {
        benchmark::DoNotOptimize(integer(defaults, "quendokit.options.absent"));
    }
}

void writeChanged(benchmark::State& state) {
    const Settings settings;
    std::int64_t value = 0;
    for (auto _ : state) {
        settings.defaults->set(OptionKeys::Evening, ++value);
    }
}

void writeUnchanged(benchmark::State& state) {
    const Settings settings;
    for (auto _ : state) {
        settings.defaults->set(OptionKeys::Evening, std::int64_t{43'200});
    }
}

BENCHMARK(readOne)->Name("read/one");
BENCHMARK(readSix)->Name("read/six");
BENCHMARK(readAbsent)->Name("read/absent");
BENCHMARK(writeChanged)->Name("write/changed")->Unit(benchmark::kMicrosecond);
BENCHMARK(writeUnchanged)->Name("write/unchanged")->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quendokit::bench

BENCHMARK_MAIN();
