#pragma once
/// \file
/// `SQLiteWorld`, the engine's services over a SQLite file in a folder of its own.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <vector>

#include "adapters/sqlite/open_internal.hpp"
#include "adapters/sqlite/sqlite_realm_provider.hpp"
#include "quendokit/platform/results.hpp"
#include "quendokit/platform/services.hpp"
#include "quendokit/store/quendokit_config.hpp"
#include "quendokit/store/reminder_controller.hpp"
#include "quendokit/store/reminder_item.hpp"
#include "testing/manual_clock.hpp"
#include "testing/manual_dispatch_queue.hpp"
#include "testing/recording_line_sink.hpp"
#include "testing/recording_scheduler.hpp"
#include "tests/support/temporary_folder.hpp"

namespace quendokit::testing {

/// A manual clock and main queue, a recording sink, and a provider whose default file is `file`.
struct SQLiteWorld {
    /// `fileSystem` is SQLite's by name; empty for the default one.
    explicit SQLiteWorld(const std::string& fileSystem = "") {
        options.defaultFile = file;
        options.busyTimeout = std::chrono::milliseconds(0);
        options.fileSystem = fileSystem;
        options.onFailure = [this](const Error& error) { failures.push_back(error); };
    }

    [[nodiscard]] platform::Services services() const {
        platform::Services result;
        result.clock = clock;
        result.mainQueue = mainQueue;
        result.realmProvider = std::make_shared<SQLiteRealmProvider>(options);
        result.standardOutput = lines;
        return result;
    }

    [[nodiscard]] Result<std::shared_ptr<sqlite::SQLiteRealm>> open() const {
        return sqlite::openRealm(file, QuendoKitConfig(), options);
    }

    TemporaryFolder folder;
    std::filesystem::path file = folder.path() / "reminders.sqlite";
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    std::shared_ptr<ManualDispatchQueue> mainQueue = std::make_shared<ManualDispatchQueue>();
    std::shared_ptr<RecordingLineSink> lines = std::make_shared<RecordingLineSink>();
    std::vector<Error> failures;
    SQLiteRealmOptions options;
};

/// Runs SQL on a file by SQLite alone, as somebody else's program would. False when SQLite refuses.
inline bool runSQL(const std::filesystem::path& file, const std::string& sql) {
    sqlite3* database = nullptr;
    sqlite3_open(file.c_str(), &database);
    const int result = sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr);
    sqlite3_close(database);
    return result == SQLITE_OK;
}

/// The first column of the first row as text; "" when there is none.
inline std::string querySQL(const std::filesystem::path& file, const std::string& sql) {
    std::string answer;
    sqlite3* database = nullptr;
    sqlite3_open(file.c_str(), &database);
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr);
    if (sqlite3_step(statement) == SQLITE_ROW && sqlite3_column_text(statement, 0) != nullptr) {
        answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return answer;
}

}  // namespace quendokit::testing
