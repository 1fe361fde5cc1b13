/// \file
/// What a store takes of memory: at rest, and while it lists. Heap of the program and of SQLite, counted exactly.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <new>
#include <sqlite3.h>

#include "bench/store_files.hpp"
#include "quendokit/store/reminder_controller.hpp"

namespace {

std::size_t live = 0;
std::size_t peak = 0;

}  // namespace

// One thread: plain counters do.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    void* memory = std::malloc(size);
    live += malloc_usable_size(memory);
    peak = std::max(peak, live);
    return memory;
}

void* operator new(std::size_t size) {
    void* memory = operator new(size, std::nothrow);
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    live -= malloc_usable_size(memory);
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

namespace quendokit::bench {
namespace {

void measure(int count) {
    const auto file = Filled::of(count).file;
    const auto heapBefore = live;
    const auto databaseBefore = sqlite3_memory_used();
    const auto controller = ReminderController::create(nullptr, openRealm(file));
    static_cast<void>(controller->reminders(false));
    static_cast<void>(controller->reminderStats(false));

    const auto rest = live;
    peak = live;
    const auto reminders = controller->reminders(false);
    const auto returned = live - rest;
    const auto highest = peak - rest;

    constexpr double mebibyte = 1024.0 * 1024.0;
    const auto database = static_cast<double>(sqlite3_memory_used() - databaseBefore);
    const auto engine = static_cast<double>(rest - heapBefore);
    std::printf("%9d records: at rest %6.2f MiB, of which SQLite %6.2f; listed %8.2f MiB, peak %8.2f, ratio %.2f\n",
                count, (engine + database) / mebibyte, database / mebibyte, static_cast<double>(returned) / mebibyte,
                static_cast<double>(highest) / mebibyte, static_cast<double>(highest) / static_cast<double>(returned));
}

}  // namespace
}  // namespace quendokit::bench

int main() {
    using namespace quendokit::bench;
    installServices();
    const char* most = std::getenv("QUENDOKIT_BENCH_MOST");
    const int limit = most != nullptr ? std::atoi(most) : 1'000'000;
    for (int size = 1'000; size <= limit; size *= 10) {
        measure(size);
    }
    removeWorkFolder();
}
