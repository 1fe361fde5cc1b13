/// \file
/// Storing, listing and looking up, beside raw SQLite with cached statements on the same kind of file.
///
/// The records: identifier of 36 characters, title of 30; half upcoming, half passed, 2 % for the Mac (every other one
/// seen), 1 % deleted, 1 % pending. Names are WORK/WHO/RECORDS IN THE FILE.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "adapters/event_loop/system_clock.hpp"
#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "bench/raw_store.hpp"
#include "quendokit/platform/results.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/platform/uuid.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/store/reminder_item.hpp"

namespace quendokit::bench {
namespace {

namespace fs = std::filesystem;

constexpr int bulkCount = 10'000;

class NullSink final : public LineSink {
public:
    void writeLine(std::string_view) override {}
};

double now() {
    return platform::clock().now().timeIntervalSince1970();
}

fs::path workFolder() {
    static const fs::path folder = [] {
        std::string name = (fs::temp_directory_path() / "quendokit-bench-XXXXXX").string();
        return fs::path(mkdtemp(name.data()));
    }();
    return folder;
}

std::string titleOf(int i) {
    char title[31];
    std::snprintf(title, sizeof(title), "Reminder number %014d", i);
    return title;
}

/// The record with the number `i`; `id` is its own.
RawRecord recordOf(int i, std::string id) {
    const bool atMac = i % 50 == 13;
    const double date = atMac ? 0 : now() + (i % 2 == 0 ? 3'600.0 : -3'600.0) * (i + 1);
    return {std::move(id),        titleOf(i),    i % 100 == 7,   atMac && i % 100 == 13,
            atMac ? now() : date, i % 100 == 21, atMac ? 1 : -1, date};
}

std::shared_ptr<Realm> openRealm(const fs::path& file) {
    auto configuration = QuendoKitConfig();
    configuration.fileURL = file;
    auto realm = Realm::open(configuration);
    if (!realm) {
        std::fprintf(stderr, "%s\n", realm.error().description.c_str());
        std::abort();
    }
    return realm.value();
}

/// A file of `count` records, made once, and the identifiers in it.
struct Filled {
    explicit Filled(int count) : file(workFolder() / (std::to_string(count) + ".sqlite")) {
        static_cast<void>(openRealm(file));
        std::vector<RawRecord> records;
        records.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            ids.push_back(makeUUID());
            records.push_back(recordOf(i, ids.back()));
        }
        RawStore(file.string()).storeAll(records);
    }

    static Filled& of(int count) {
        static std::map<int, Filled> all;
        return all.try_emplace(count, count).first->second;
    }

    fs::path file;
    std::vector<std::string> ids;
};

/// A file of its own for a benchmark that changes it.
struct Copy {
    explicit Copy(int count) : file(workFolder() / "copy.sqlite") {
        remove();
        fs::copy_file(Filled::of(count).file, file);
    }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;
    ~Copy() { remove(); }

    void remove() const {
        for (const char* suffix : {"", "-wal", "-shm"}) {
            fs::remove(file.string() + suffix);
        }
    }

    const fs::path file;
};

void storeRaw(benchmark::State& state) {
    const Copy copy(static_cast<int>(state.range(0)));
    RawStore raw(copy.file.string());
    int i = 0;
    for (auto _ : state) {
        raw.store(recordOf(2 * ++i, makeUUID()));
    }
}

void storeEngine(benchmark::State& state) {
    const Copy copy(static_cast<int>(state.range(0)));
    const auto controller = ReminderController::create(nullptr, openRealm(copy.file));
    int i = 0;
    for (auto _ : state) {
        const RawRecord record = recordOf(2 * ++i, {});
        controller->store(ReminderStruct(record.title, ReminderCondition::dateTime(Date(record.date))));
    }
}

void bulkRaw(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        {
            const Copy copy(static_cast<int>(state.range(0)));
            RawStore raw(copy.file.string());
            std::vector<RawRecord> records;
            for (int i = 0; i < bulkCount; ++i) {
                records.push_back(recordOf(i, makeUUID()));
            }
            state.ResumeTiming();
            raw.storeAll(records);
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * bulkCount);
}

void bulkEngine(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        {
            const Copy copy(static_cast<int>(state.range(0)));
            const auto realm = openRealm(copy.file);
            std::vector<ReminderItem> items;
            for (int i = 0; i < bulkCount; ++i) {
                const RawRecord record = recordOf(i, makeUUID());
                items.emplace_back(record.title, ReminderCondition::dateTime(Date(record.date)), record.id,
                                   record.shown);
            }
            state.ResumeTiming();
            if (realm->write([&] { realm->add(items, true); })) {
                state.SkipWithError("the write failed");
            }
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * bulkCount);
}

void listRaw(benchmark::State& state) {
    RawStore raw(Filled::of(static_cast<int>(state.range(0))).file.string());
    for (auto _ : state) {
        benchmark::DoNotOptimize(raw.list(now()));
    }
}

void listEngine(benchmark::State& state) {
    const auto controller =
        ReminderController::create(nullptr, openRealm(Filled::of(static_cast<int>(state.range(0))).file));
    for (auto _ : state) {
        benchmark::DoNotOptimize(controller->reminders(false));
    }
}

template <typename Find>
void findAtRandom(benchmark::State& state, const std::vector<std::string>& ids, Find find) {
    std::mt19937 random(1);
    std::uniform_int_distribution<std::size_t> any(0, ids.size() - 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(find(ids[any(random)]));
    }
}

void findRaw(benchmark::State& state) {
    const Filled& filled = Filled::of(static_cast<int>(state.range(0)));
    RawStore raw(filled.file.string());
    findAtRandom(state, filled.ids, [&](const std::string& id) { return raw.find(id); });
}

void findEngine(benchmark::State& state) {
    const Filled& filled = Filled::of(static_cast<int>(state.range(0)));
    const auto controller = ReminderController::create(nullptr, openRealm(filled.file));
    findAtRandom(state, filled.ids, [&](const std::string& id) { return controller->reminder(id); });
}

/// Sizes from a thousand to QUENDOKIT_BENCH_MOST (a million when not set).
void sizes(benchmark::internal::Benchmark* work) {
    const char* most = std::getenv("QUENDOKIT_BENCH_MOST");
    const int limit = most != nullptr ? std::atoi(most) : 1'000'000;
    for (int size = 1'000; size <= limit; size *= 10) {
        work->Arg(size);
    }
}

BENCHMARK(storeRaw)->Name("store/raw")->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(storeEngine)->Name("store/quendokit")->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(bulkRaw)->Name("bulk of 10k/raw")->Apply(sizes)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(bulkEngine)->Name("bulk of 10k/quendokit")->Apply(sizes)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(listRaw)->Name("list/raw")->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(listEngine)->Name("list/quendokit")->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(findRaw)->Name("look up/raw")->Apply(sizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(findEngine)->Name("look up/quendokit")->Apply(sizes)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quendokit::bench

int main(int argc, char** argv) {
    using namespace quendokit;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    platform::Services services;
    services.clock = std::make_shared<SystemClock>();
    services.realmProvider = std::make_shared<SQLiteRealmProvider>(SQLiteRealmOptions());
    services.standardOutput = std::make_shared<bench::NullSink>();
    platform::install(services);
    benchmark::RunSpecifiedBenchmarks();
    std::error_code ignored;
    std::filesystem::remove_all(bench::workFolder(), ignored);
    return 0;
}
