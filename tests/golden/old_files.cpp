#include "tests/golden/old_files.hpp"

#include <cstdio>
#include <sqlite3.h>

namespace quendokit::testing {

OldRow oldRow(int i) {
    char id[37];
    std::snprintf(id, sizeof(id), "%08X-0000-4000-8000-00000000%04X", static_cast<unsigned>(i) + 0xA0000000U,
                  static_cast<unsigned>(i) & 0xFFFFU);
    const bool atMac = i % 3 == 2;
    return {
        .id = id,
        .title = i % 5 == 4 ? "Überweisung prüfen 💶" : "Reminder " + std::to_string(i),
        .device = atMac ? 1 : -1,
        .datetime = atMac ? 0.0 : 1'500'000'000.25 + 86'400.0 * i,
        .pending = i % 2 == 0,
        .deleted = i % 4 == 3,
        .shown = i % 6 == 2,
    };
}

bool writeOldFile(const std::filesystem::path& file, int version, int count) {
    sqlite3* database = nullptr;
    sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_EXCLUSIVE,
                    nullptr);
    std::string columns =
        "ID TEXT PRIMARY KEY NOT NULL, title TEXT NOT NULL, _device INTEGER NOT NULL, _datetime REAL NOT NULL, pending "
        "INTEGER NOT NULL";
    std::string values = "?1, ?2, ?3, ?4, ?5";
    if (version >= 1) {
        columns += ", deleted INTEGER NOT NULL";
        values += ", ?6";
    }
    if (version >= 2) {
        columns += ", shown INTEGER NOT NULL";
        values += ", ?7";
    }
    const std::string begin = "PRAGMA user_version = " + std::to_string(version) +
                              "; BEGIN; CREATE TABLE ReminderItem (" + columns + ") STRICT";
    bool done = sqlite3_exec(database, begin.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(database, ("INSERT INTO ReminderItem VALUES (" + values + ")").c_str(), -1, &insert, nullptr);
    for (int i = 0; i < count && done; ++i) {
        const OldRow row = oldRow(i);
        sqlite3_bind_text(insert, 1, row.id.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 2, row.title.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_int64(insert, 3, row.device);
        sqlite3_bind_double(insert, 4, row.datetime);
        sqlite3_bind_int(insert, 5, row.pending ? 1 : 0);
        if (version >= 1) {
            sqlite3_bind_int(insert, 6, row.deleted ? 1 : 0);
        }
        if (version >= 2) {
            sqlite3_bind_int(insert, 7, row.shown ? 1 : 0);
        }
        done = sqlite3_step(insert) == SQLITE_DONE;
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    done = done && sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(database);
    return done;
}

}  // namespace quendokit::testing
