/// \file
/// Questions of local time, beside Abseil, a reused ICU calendar and the C library.
///
/// The dates: 4,096 random seconds within five years of the end of 2026, in Berlin. Names are WORK/WHO.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/calendar_peers.hpp"

namespace quendokit::bench {
namespace {

constexpr const char* zone = "Europe/Berlin";
constexpr std::size_t dateCount = 4'096;

const std::vector<Date>& dates() {
    static const auto chosen = [] {
        constexpr std::int64_t middle = 1'798'675'200;
        constexpr std::int64_t fiveYears = 157'788'000;
        std::mt19937_64 random(1);
        std::uniform_int_distribution<std::int64_t> any(middle - fiveYears, middle + fiveYears);
        std::vector<Date> all;
        for (std::size_t i = 0; i < dateCount; ++i) {
            all.emplace_back(static_cast<double>(any(random)));
        }
        return all;
    }();
    return chosen;
}

/// One peer for all benchmarks: making one reads files.
template <typename Peer>
Peer& thePeer() {
    static Peer peer(zone);
    return peer;
}

int weekdayOf(std::size_t i) {
    return static_cast<int>(i % 7) + 1;
}

/// Runs `work`, a function of a peer, a date and its number.
template <typename Peer, typename Work>
void overDates(benchmark::State& state, Work work) {
    Peer& peer = thePeer<Peer>();
    const std::vector<Date>& all = dates();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(work(peer, all[i], i));
        i = (i + 1) % dateCount;
    }
}

template <typename Peer>
void setTime(benchmark::State& state) {
    overDates<Peer>(state, [](Peer& peer, Date date, std::size_t) { return peer.setTime(9, 30, 0, date); });
}

template <typename Peer>
void startTomorrow(benchmark::State& state) {
    overDates<Peer>(state, [](Peer& peer, Date date, std::size_t) { return tomorrow(peer, date); });
}

template <typename Peer>
void setWeekday(benchmark::State& state) {
    overDates<Peer>(state, [](Peer& peer, Date date, std::size_t i) { return peer.setWeekday(weekdayOf(i), date); });
}

template <typename Peer>
void timeComponents(benchmark::State& state) {
    overDates<Peer>(state, [](Peer& peer, Date date, std::size_t) { return peer.timeComponents(date); });
}

template <typename Peer>
void weekday(benchmark::State& state) {
    overDates<Peer>(state, [](Peer& peer, Date date, std::size_t) { return peer.weekday(date); });
}

/// What is compared has to be the same work.
template <typename Peer>
void expectSameAnswers(const char* name) {
    auto& own = thePeer<QuendoKitPeer>();
    auto& peer = thePeer<Peer>();
    for (std::size_t i = 0; i < dateCount; ++i) {
        const Date date = dates()[i];
        if (own.setTime(9, 30, 0, date) != peer.setTime(9, 30, 0, date) ||
            tomorrow(own, date) != tomorrow(peer, date) ||
            own.setWeekday(weekdayOf(i), date) != peer.setWeekday(weekdayOf(i), date) ||
            !(own.timeComponents(date) == peer.timeComponents(date)) || own.weekday(date) != peer.weekday(date)) {
            std::fprintf(stderr, "%s answers otherwise at %.0f\n", name, date.timeIntervalSince1970());
            std::abort();
        }
    }
}

BENCHMARK(setTime<QuendoKitPeer>)->Name("set a time/quendokit");
BENCHMARK(setTime<AbseilPeer>)->Name("set a time/abseil");
BENCHMARK(setTime<IcuPeer>)->Name("set a time/icu");
BENCHMARK(setTime<PosixPeer>)->Name("set a time/posix");
BENCHMARK(startTomorrow<QuendoKitPeer>)->Name("tomorrow/quendokit");
BENCHMARK(startTomorrow<AbseilPeer>)->Name("tomorrow/abseil");
BENCHMARK(startTomorrow<IcuPeer>)->Name("tomorrow/icu");
BENCHMARK(startTomorrow<PosixPeer>)->Name("tomorrow/posix");
BENCHMARK(setWeekday<QuendoKitPeer>)->Name("set a weekday/quendokit");
BENCHMARK(setWeekday<AbseilPeer>)->Name("set a weekday/abseil");
BENCHMARK(setWeekday<IcuPeer>)->Name("set a weekday/icu");
BENCHMARK(setWeekday<PosixPeer>)->Name("set a weekday/posix");
BENCHMARK(timeComponents<QuendoKitPeer>)->Name("time of day/quendokit");
BENCHMARK(timeComponents<AbseilPeer>)->Name("time of day/abseil");
BENCHMARK(timeComponents<IcuPeer>)->Name("time of day/icu");
BENCHMARK(timeComponents<PosixPeer>)->Name("time of day/posix");
BENCHMARK(weekday<QuendoKitPeer>)->Name("weekday/quendokit");
BENCHMARK(weekday<AbseilPeer>)->Name("weekday/abseil");
BENCHMARK(weekday<IcuPeer>)->Name("weekday/icu");
BENCHMARK(weekday<PosixPeer>)->Name("weekday/posix");

}  // namespace
}  // namespace quendokit::bench

int main(int argc, char** argv) {
    using namespace quendokit::bench;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    expectSameAnswers<AbseilPeer>("Abseil");
    expectSameAnswers<IcuPeer>("ICU");
    expectSameAnswers<PosixPeer>("the C library");
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
