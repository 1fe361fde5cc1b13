#include "bench/store_files.hpp"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string_view>

#include "adapters/event_loop/system_clock.hpp"
#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/platform/uuid.hpp"
#include "quendokit/store/quendokit_config.hpp"

namespace quendokit::bench {
namespace {

namespace fs = std::filesystem;

class NullSink final : public LineSink {
public:
    void writeLine(std::string_view) override {}
};

std::string titleOf(int i) {
    char title[31];
    std::snprintf(title, sizeof(title), "Reminder number %014d", i);
    return title;
}

bool isAtMac(int i) {
    return i % 50 == 13;
}

bool isDeleted(int i) {
    return i % 100 == 7;
}

}  // namespace

void installServices() {
    platform::Services services;
    services.clock = std::make_shared<SystemClock>();
    services.realmProvider = std::make_shared<SQLiteRealmProvider>(SQLiteRealmOptions());
    services.standardOutput = std::make_shared<NullSink>();
    platform::install(services);
}

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

void removeWorkFolder() {
    std::error_code ignored;
    fs::remove_all(workFolder(), ignored);
}

RawRecord recordOf(int i, std::string id) {
    const bool atMac = isAtMac(i);
    const double date = atMac ? 0 : now() + (i % 2 == 0 ? 3'600.0 : -3'600.0) * (i + 1);
    return {std::move(id),        titleOf(i),    isDeleted(i),   atMac && i % 100 == 13,
            atMac ? now() : date, i % 100 == 21, atMac ? 1 : -1, date};
}

ReminderStruct reminderOf(const RawRecord& record) {
    const auto condition = record.device == DeviceType::mac ? ReminderCondition::device(DeviceType::mac)
                                                            : ReminderCondition::dateTime(Date(record.date));
    return {record.id, record.title, record.shown, condition};
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

Filled::Filled(int count) : file(workFolder() / (std::to_string(count) + ".sqlite")) {
    static_cast<void>(openRealm(file));
    std::vector<RawRecord> records;
    records.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        ids.push_back(makeUUID());
        records.push_back(recordOf(i, ids.back()));
    }
    RawStore(file.string()).storeAll(records);
}

const Filled& Filled::of(int count) {
    static std::map<int, Filled> all;
    return all.try_emplace(count, count).first->second;
}

const std::string& Filled::anyDatedId(std::mt19937& random) const {
    std::uniform_int_distribution<std::size_t> any(0, ids.size() - 1);
    for (;;) {
        const std::size_t i = any(random);
        if (!isAtMac(static_cast<int>(i)) && !isDeleted(static_cast<int>(i))) {
            return ids[i];
        }
    }
}

Copy::Copy(int count) : file(workFolder() / "copy.sqlite") {
    remove();
    fs::copy_file(Filled::of(count).file, file);
}

void Copy::remove() const {
    for (const char* suffix : {"", "-wal", "-shm"}) {
        fs::remove(file.string() + suffix);
    }
}

void sizes(benchmark::internal::Benchmark* work) {
    const char* most = std::getenv("QUENDOKIT_BENCH_MOST");
    const int limit = most != nullptr ? std::atoi(most) : 1'000'000;
    for (int size = 1'000; size <= limit; size *= 10) {
        work->Arg(size);
    }
}

}  // namespace quendokit::bench
