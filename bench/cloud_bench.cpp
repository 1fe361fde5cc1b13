/// \file
/// Ten thousand records from a record server into a durable store, and there, over loopback HTTP; beside a plain
/// program over libcurl, a JSON library and SQLite with a transaction a page. The server, a process of its own, is in
/// both.

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>

#include "bench/cloud_home.hpp"
#include "bench/raw_cloud.hpp"
#include "bench/store_files.hpp"
#include "quendokit/platform/fatal_error.hpp"
#include "quendokit/platform/uuid.hpp"
#include "tests/support/cloudd_process.hpp"

namespace quendokit::bench {
namespace {

namespace fs = std::filesystem;

constexpr const char* container = "iCloud.net.example.bench";
constexpr int count = 10'000;

testing::ClouddProcess& server() {
    static testing::ClouddProcess process(QUENDO_CLOUDD_PROGRAM);
    return process;
}

/// A person of the server's.
struct Person {
    explicit Person(const std::string& name) {
        const auto tokens = server().addUser(name);
        account.url = server().url();
        account.container = container;
        account.apiToken = tokens.api;
        account.clientID = makeUUID();
        webToken = tokens.web;
        RawCloud cloud(rawAccount());
        cloud.makeZone();
        webToken = cloud.webToken();
    }

    [[nodiscard]] RawAccount rawAccount() const {
        return {account.url + "/database/1/" + container + "/production/private/", account.apiToken, webToken};
    }

    WebAccount account;
    std::string webToken;
};

/// A folder with a database that holds `pending` unsent records of its own.
struct HomeFolder {
    explicit HomeFolder(int pending) {
        fs::remove_all(folder);
        fs::create_directories(folder);
        static_cast<void>(openRealm(file()));
        std::vector<RawRecord> records;
        for (int i = 0; i < pending; ++i) {
            records.push_back(recordOf(i, makeUUID()));
            records.back().pending = true;
            records.back().deleted = false;
        }
        if (pending > 0) {
            RawStore(file().string()).storeAll(records);
        }
    }

    [[nodiscard]] fs::path file() const { return folder / "reminders.sqlite"; }

    const fs::path folder = workFolder() / "home";
};

/// Whose ten thousand records are downloaded.
Person& reader() {
    static Person* const person = [] {
        static Person made("reader");
        const HomeFolder home(count);
        RawStore store(home.file().string());
        RawCloud cloud(made.rawAccount());
        static_cast<void>(cloud.upload(store));
        made.webToken = cloud.webToken();
        return &made;
    }();
    return *person;
}

/// Who uploads into an empty zone.
Person writer() {
    static int number = 0;
    return Person("writer" + std::to_string(++number));
}

/// The server allows each person a burst of requests, and so many a second afterwards.
void waitForTheServer() {
    std::this_thread::sleep_for(std::chrono::seconds(4));
}

void checkCount(std::size_t came) {
    if (came != count) {
        fatalError(std::to_string(came) + " records came, and not " + std::to_string(count));
    }
}

double seconds(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void downloadRaw(benchmark::State& state) {
    Person& person = reader();
    for (auto _ : state) {
        waitForTheServer();
        const HomeFolder home(0);
        RawStore store(home.file().string());
        RawCloud cloud(person.rawAccount());
        const auto start = std::chrono::steady_clock::now();
        checkCount(cloud.download(store));
        state.SetIterationTime(seconds(start));
        person.webToken = cloud.webToken();
    }
}

void downloadEngine(benchmark::State& state) {
    Person& person = reader();
    for (auto _ : state) {
        waitForTheServer();
        const HomeFolder home(0);
        CloudHome device(home.folder, person.account, person.webToken);
        state.SetIterationTime(device.finishFirstSync().whole.count());
        checkCount(device.controller().reminders(false).size());
    }
}

void uploadRaw(benchmark::State& state) {
    for (auto _ : state) {
        Person person = writer();
        const HomeFolder home(count);
        RawStore store(home.file().string());
        RawCloud cloud(person.rawAccount());
        const auto start = std::chrono::steady_clock::now();
        checkCount(cloud.upload(store));
        state.SetIterationTime(seconds(start));
        person.webToken = cloud.webToken();
    }
}

void uploadEngine(benchmark::State& state) {
    for (auto _ : state) {
        Person person = writer();
        const HomeFolder home(count);
        CloudHome device(home.folder, person.account, person.webToken);
        state.SetIterationTime(device.finishFirstSync().upload.count());
        const auto unsent = device.controller().remindersToUpload();
        checkCount(unsent ? count - unsent->size() : 0);
    }
}

constexpr auto ms = benchmark::kMillisecond;

BENCHMARK(downloadRaw)->Name("download/raw")->Arg(count)->Iterations(1)->UseManualTime()->Unit(ms);
BENCHMARK(downloadEngine)->Name("download/quendokit")->Arg(count)->Iterations(1)->UseManualTime()->Unit(ms);
BENCHMARK(uploadRaw)->Name("upload/raw")->Arg(count)->Iterations(1)->UseManualTime()->Unit(ms);
BENCHMARK(uploadEngine)->Name("upload/quendokit")->Arg(count)->Iterations(1)->UseManualTime()->Unit(ms);

}  // namespace
}  // namespace quendokit::bench

int main(int argc, char** argv) {
    quendokit::bench::installServices();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    quendokit::bench::removeWorkFolder();
    return 0;
}
