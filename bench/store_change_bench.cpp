/// \file
/// Storing, postponing and marking as seen, each durable when it returns, beside raw SQLite with cached statements.

#include "bench/store_files.hpp"
#include "quendokit/platform/uuid.hpp"
#include "quendokit/store/reminder_controller.hpp"

namespace quendokit::bench {
namespace {

constexpr int bulkCount = 10'000;

int count(const benchmark::State& state) {
    return static_cast<int>(state.range(0));
}

template <RawStore::Syncs syncs>
void storeRaw(benchmark::State& state) {
    const Copy copy(count(state));
    RawStore raw(copy.file.string(), syncs);
    int i = 0;
    for (auto _ : state) {
        raw.store(recordOf(2 * ++i, makeUUID()));
    }
}

void storeEngine(benchmark::State& state) {
    const Copy copy(count(state));
    const auto controller = ReminderController::create(nullptr, openRealm(copy.file));
    int i = 0;
    for (auto _ : state) {
        const RawRecord record = recordOf(2 * ++i, {});
        controller->store(ReminderStruct(record.title, ReminderCondition::dateTime(Date(record.date))));
    }
}

std::vector<RawRecord> bulk() {
    std::vector<RawRecord> records;
    for (int i = 0; i < bulkCount; ++i) {
        records.push_back(recordOf(i, makeUUID()));
    }
    return records;
}

/// `prepare` gets a file of its own each round and answers the work that is measured.
template <typename Prepare>
void measureBulk(benchmark::State& state, Prepare prepare) {
    for (auto _ : state) {
        state.PauseTiming();
        {
            const Copy copy(count(state));
            const auto work = prepare(copy);
            state.ResumeTiming();
            work();
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * bulkCount);
}

void bulkRaw(benchmark::State& state) {
    measureBulk(state, [](const Copy& copy) {
        return [raw = std::make_shared<RawStore>(copy.file.string()), records = bulk()] { raw->storeAll(records); };
    });
}

void bulkEngine(benchmark::State& state) {
    measureBulk(state, [](const Copy& copy) {
        std::vector<ReminderStruct> reminders;
        for (const RawRecord& record : bulk()) {
            reminders.push_back(reminderOf(record));
        }
        return [controller = ReminderController::create(nullptr, openRealm(copy.file)),
                reminders = std::move(reminders)] { controller->store(reminders); };
    });
}

/// A moment ahead, another one each time.
double later(int i) {
    return now() + 7'200.0 + i;
}

void postponeRaw(benchmark::State& state) {
    const Copy copy(count(state));
    RawStore raw(copy.file.string());
    std::mt19937 random(1);
    int i = 0;
    for (auto _ : state) {
        raw.postpone(Filled::of(count(state)).anyDatedId(random), later(++i));
    }
}

void postponeEngine(benchmark::State& state) {
    const Copy copy(count(state));
    const auto controller = ReminderController::create(nullptr, openRealm(copy.file));
    std::mt19937 random(1);
    int i = 0;
    for (auto _ : state) {
        const auto condition = ReminderCondition::dateTime(Date(later(++i)));
        controller->postpone({Filled::of(count(state)).anyDatedId(random), "", false, condition}, condition);
    }
}

/// The record that becomes a seen one.
RawRecord shownRecord(int i, const std::string& id) {
    RawRecord record = recordOf(2 * i, id);
    record.deleted = false;
    record.shown = true;
    record.pending = true;
    record.completionDate = now();
    return record;
}

void markSeenRaw(benchmark::State& state) {
    const Copy copy(count(state));
    RawStore raw(copy.file.string());
    std::mt19937 random(1);
    int i = 0;
    for (auto _ : state) {
        raw.replace(shownRecord(++i, Filled::of(count(state)).anyDatedId(random)));
    }
}

void markSeenEngine(benchmark::State& state) {
    const Copy copy(count(state));
    const auto controller = ReminderController::create(nullptr, openRealm(copy.file));
    std::mt19937 random(1);
    int i = 0;
    for (auto _ : state) {
        controller->markSeen({reminderOf(shownRecord(++i, Filled::of(count(state)).anyDatedId(random)))});
    }
}

constexpr auto us = benchmark::kMicrosecond;

BENCHMARK(storeRaw<RawStore::Syncs::full>)->Name("store/raw")->Apply(sizes)->Unit(us);
BENCHMARK(storeEngine)->Name("store/quendokit")->Apply(sizes)->Unit(us);
BENCHMARK(storeRaw<RawStore::Syncs::normal>)->Name("store (raw not synced)/raw")->Apply(sizes)->Unit(us);
BENCHMARK(storeEngine)->Name("store (raw not synced)/quendokit")->Apply(sizes)->Unit(us);
BENCHMARK(bulkRaw)->Name("store 10k/raw")->Apply(sizes)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(bulkEngine)->Name("store 10k/quendokit")->Apply(sizes)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(postponeRaw)->Name("postpone/raw")->Apply(sizes)->Unit(us);
BENCHMARK(postponeEngine)->Name("postpone/quendokit")->Apply(sizes)->Unit(us);
BENCHMARK(markSeenRaw)->Name("mark one seen/raw")->Apply(sizes)->Unit(us);
BENCHMARK(markSeenEngine)->Name("mark one seen/quendokit")->Apply(sizes)->Unit(us);

}  // namespace
}  // namespace quendokit::bench
