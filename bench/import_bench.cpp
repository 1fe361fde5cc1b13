/// \file
/// Importing reminders from a file, and exporting them, beside a bulk insert into raw SQLite with cached statements.
///
/// Names are WORK/WHO/REMINDERS. "insert" stores values that are in memory: raw beside what the session does. "import"
/// begins with the file, "export" ends with one; their peer inserts the same records, without a file.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "adapters/cctz/local_time_zone.hpp"
#include "apps/quendo/executor.hpp"
#include "apps/quendo/session.hpp"
#include "apps/quendo/transfer/transfer_document.hpp"
#include "apps/quendo/transfer/transfer_file.hpp"
#include "bench/store_files.hpp"
#include "quendokit/platform/uuid.hpp"

namespace quendokit::bench {
namespace {

namespace fs = std::filesystem;
using quendo::Session;
using quendo::TransferEntry;

template <typename Value>
Value valueOf(quendo::Outcome<Value> outcome) {
    if (!outcome) {
        std::fprintf(stderr, "%s\n", outcome.failure().line.c_str());
        std::abort();
    }
    return std::move(outcome).value();
}

/// A home of its own for one import.
class Home {
public:
    Home() : folders_{LinuxFolders::inOne((workFolder() / "home").string()), {}} { fs::remove_all(folders_.data); }

    [[nodiscard]] std::unique_ptr<Session> open() const {
        auto lock = std::make_shared<quendo::LockFile>(valueOf(quendo::takeLock(folders_, std::chrono::seconds(5))));
        return valueOf(Session::open(folders_, std::move(lock), [](const auto&) {}));
    }
    [[nodiscard]] const quendo::Folders& folders() const { return folders_; }

private:
    const quendo::Folders folders_;
};

std::vector<TransferEntry> entries(std::int64_t count) {
    std::vector<TransferEntry> result;
    for (std::int64_t i = 0; i < count; ++i) {
        const Date date(3e9 + static_cast<double>(i));
        char title[31];
        std::snprintf(title, sizeof(title), "Reminder number %014d", static_cast<int>(i));
        result.push_back({makeUUID(), title, false, ReminderCondition::dateTime(date), date});
    }
    return result;
}

std::vector<RawRecord> records(const std::vector<TransferEntry>& from) {
    std::vector<RawRecord> result;
    result.reserve(from.size());
    for (const TransferEntry& entry : from) {
        const double date = entry.condition.date()->timeIntervalSince1970();
        result.push_back({*entry.id, entry.title, false, false, date, true, -1, date});
    }
    return result;
}

void insertRaw(benchmark::State& state) {
    const auto all = records(entries(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        {
            const Home home;
            static_cast<void>(valueOf(quendo::ask(*home.open(), quendo::StatsRequest())));
            RawStore raw(home.folders().database().string());
            state.ResumeTiming();
            raw.storeAll(all);
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}

void insertSession(benchmark::State& state) {
    const quendo::ImportRequest request{entries(state.range(0))};
    for (auto _ : state) {
        state.PauseTiming();
        {
            const Home home;
            const auto session = home.open();
            static_cast<void>(valueOf(quendo::ask(*session, quendo::StatsRequest())));
            const quendo::Request whole(request);
            state.ResumeTiming();
            static_cast<void>(valueOf(session->execute(whole)));
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}

void importSession(benchmark::State& state) {
    const auto zone = LocalTimeZone::current();
    const std::string file = (workFolder() / "all.json").string();
    if (quendo::writeTransferFile(
            file, quendo::writeTransfer(entries(state.range(0)), quendo::TransferFormat::json, {*zone, Date(0), {}}))) {
        state.SkipWithError("the file cannot be written");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        {
            const Home home;
            state.ResumeTiming();
            auto document = valueOf(quendo::readTransfer(valueOf(quendo::readTransferFile(file)), {file, *zone}));
            static_cast<void>(valueOf(quendo::ask(*home.open(), quendo::ImportRequest{std::move(document.entries)})));
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}

void exportSession(benchmark::State& state) {
    const auto zone = LocalTimeZone::current();
    const std::string file = (workFolder() / "all.json").string();
    const Home home;
    static_cast<void>(valueOf(quendo::ask(*home.open(), quendo::ImportRequest{entries(state.range(0))})));
    for (auto _ : state) {
        const auto all = valueOf(quendo::ask(*home.open(), quendo::ExportRequest()));
        if (quendo::writeTransferFile(file,
                                      quendo::writeTransfer(all, quendo::TransferFormat::json, {*zone, Date(0), {}}))) {
            state.SkipWithError("the file cannot be written");
        }
    }
}

constexpr std::int64_t many = 100'000;

BENCHMARK(insertRaw)->Name("insert/raw")->Arg(many)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(insertSession)->Name("insert/quendokit")->Arg(many)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(insertRaw)->Name("import/raw")->Arg(many)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(importSession)->Name("import/quendokit")->Arg(many)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(insertRaw)->Name("export/raw")->Arg(many)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(exportSession)->Name("export/quendokit")->Arg(many)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace quendokit::bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    quendokit::bench::installServices();
    benchmark::RunSpecifiedBenchmarks();
    quendokit::bench::removeWorkFolder();
    return 0;
}
