/// \file
/// Listing, looking up and counting, beside raw SQLite with cached statements on the same file; and `main` for these,
/// the changes and the passes. Names are WORK/WHO/RECORDS IN THE FILE.

#include "bench/store_files.hpp"
#include "quendokit/store/reminder_controller.hpp"

namespace quendokit::bench {
namespace {

const Filled& filled(const benchmark::State& state) {
    return Filled::of(static_cast<int>(state.range(0)));
}

/// Asks raw SQLite over and over.
template <typename Question>
void askRaw(benchmark::State& state, Question question) {
    RawStore raw(filled(state).file.string());
    for (auto _ : state) {
        benchmark::DoNotOptimize(question(raw));
    }
}

/// Asks a controller over and over.
template <typename Question>
void askEngine(benchmark::State& state, Question question) {
    const auto controller = ReminderController::create(nullptr, openRealm(filled(state).file));
    for (auto _ : state) {
        benchmark::DoNotOptimize(question(*controller));
    }
}

template <typename Find>
void findAtRandom(benchmark::State& state, Find find) {
    const std::vector<std::string>& ids = filled(state).ids;
    std::mt19937 random(1);
    std::uniform_int_distribution<std::size_t> any(0, ids.size() - 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(find(ids[any(random)]));
    }
}

void findRaw(benchmark::State& state) {
    RawStore raw(filled(state).file.string());
    findAtRandom(state, [&](const std::string& id) { return raw.find(id); });
}

void findEngine(benchmark::State& state) {
    const auto controller = ReminderController::create(nullptr, openRealm(filled(state).file));
    findAtRandom(state, [&](const std::string& id) { return controller->reminder(id); });
}

void listRaw(benchmark::State& state) {
    askRaw(state, [](RawStore& raw) { return raw.list(now()); });
}

void listEngine(benchmark::State& state) {
    askEngine(state, [](ReminderController& controller) { return controller.reminders(false); });
}

void countRaw(benchmark::State& state) {
    askRaw(state, [](RawStore& raw) { return raw.count(now()); });
}

void countEngine(benchmark::State& state) {
    askEngine(state, [](ReminderController& controller) { return controller.reminderStats(false); });
}

void anyRaw(benchmark::State& state) {
    askRaw(state, [](RawStore& raw) { return raw.hasAny(now()); });
}

void anyEngine(benchmark::State& state) {
    askEngine(state, [](ReminderController& controller) { return controller.hasReminders(); });
}

constexpr auto us = benchmark::kMicrosecond;

BENCHMARK(listRaw)->Name("list/raw")->Apply(sizes)->Unit(us);
BENCHMARK(listEngine)->Name("list/quendokit")->Apply(sizes)->Unit(us);
BENCHMARK(findRaw)->Name("look up/raw")->Apply(sizes)->Unit(us);
BENCHMARK(findEngine)->Name("look up/quendokit")->Apply(sizes)->Unit(us);
BENCHMARK(countRaw)->Name("count/raw")->Apply(sizes)->Unit(us);
BENCHMARK(countEngine)->Name("count/quendokit")->Apply(sizes)->Unit(us);
BENCHMARK(anyRaw)->Name("any at all/raw")->Apply(sizes)->Unit(us);
BENCHMARK(anyEngine)->Name("any at all/quendokit")->Apply(sizes)->Unit(us);

}  // namespace
}  // namespace quendokit::bench

int main(int argc, char** argv) {
    using namespace quendokit;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    bench::installServices();
    benchmark::RunSpecifiedBenchmarks();
    bench::removeWorkFolder();
    return 0;
}
