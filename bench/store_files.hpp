#pragma once
/// \file
/// The files on which the benchmarks of the store work.
///
/// The records: identifier of 36 characters, title of 30; half upcoming, half passed, 2 % for the Mac (every other one
/// seen), 1 % deleted, 1 % pending.

#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/raw_store.hpp"
#include "quendokit/model/reminder_struct.hpp"
#include "quendokit/platform/realm.hpp"

namespace quendokit::bench {

/// Installs what a store needs in this process; lines that the engine prints go nowhere.
void installServices();

/// Seconds since 1970.
[[nodiscard]] double now();

/// A folder of this process; `removeWorkFolder` takes it away with everything in it.
[[nodiscard]] std::filesystem::path workFolder();
void removeWorkFolder();

/// The record with the number `i`; `id` is its own.
[[nodiscard]] RawRecord recordOf(int i, std::string id);
/// The same as a host passes it.
[[nodiscard]] ReminderStruct reminderOf(const RawRecord& record);

/// Aborts with the reason when that fails.
[[nodiscard]] std::shared_ptr<Realm> openRealm(const std::filesystem::path& file);

/// A file of `count` records, made once a process, and the identifiers in it. For benchmarks that only read.
struct Filled {
    explicit Filled(int count);
    [[nodiscard]] static const Filled& of(int count);

    /// The identifier of a record that is neither at the Mac nor deleted.
    [[nodiscard]] const std::string& anyDatedId(std::mt19937& random) const;

    const std::filesystem::path file;
    std::vector<std::string> ids;
};

/// A file of its own for a benchmark that changes it.
struct Copy {
    explicit Copy(int count);
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;
    ~Copy() { remove(); }

    void remove() const;

    const std::filesystem::path file;
};

/// Sizes from a thousand to QUENDOKIT_BENCH_MOST (a million when not set).
void sizes(benchmark::internal::Benchmark* work);

}  // namespace quendokit::bench
