#include "bench/raw_store.hpp"

#include <cstdio>
#include <cstdlib>

namespace quendokit::bench {
namespace {

constexpr const char* columns = "SELECT ID, title, shown, _device, _datetime FROM ReminderItem ";

void check(bool good, const char* what) {
    if (!good) {
        std::fprintf(stderr, "raw SQLite: %s failed\n", what);
        std::abort();
    }
}

}  // namespace

RawStore::RawStore(const std::string& file) {
    check(sqlite3_open_v2(file.c_str(), &database_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) == SQLITE_OK,
          "open");
    check(sqlite3_exec(database_, "PRAGMA synchronous = FULL", nullptr, nullptr, nullptr) == SQLITE_OK, "synchronous");
    const std::string select = columns;
    begin_ = prepare("BEGIN IMMEDIATE");
    commit_ = prepare("COMMIT");
    insert_ = prepare("INSERT INTO ReminderItem VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
    mac_ = prepare((select + "WHERE deleted = 0 AND _device = 1 AND shown = 0 ORDER BY title").c_str());
    upcoming_ = prepare((select + "WHERE deleted = 0 AND _device = -1 AND _datetime > ? ORDER BY _datetime").c_str());
    passed_ =
        prepare((select + "WHERE deleted = 0 AND _device = -1 AND _datetime < ? ORDER BY _datetime DESC").c_str());
    seen_ =
        prepare((select + "WHERE deleted = 0 AND shown = 1 AND _device <> -1 ORDER BY completionDate DESC").c_str());
    find_ = prepare((select + "WHERE ID = ?").c_str());
}

RawStore::~RawStore() {
    for (auto* statement : {begin_, commit_, insert_, mac_, upcoming_, passed_, seen_, find_}) {
        sqlite3_finalize(statement);
    }
    sqlite3_close(database_);
}

void RawStore::store(const RawRecord& record) {
    run(begin_);
    insert(record);
    run(commit_);
}

void RawStore::storeAll(const std::vector<RawRecord>& records) {
    run(begin_);
    for (const RawRecord& record : records) {
        insert(record);
    }
    run(commit_);
}

std::vector<RawReminder> RawStore::list(double now) {
    std::vector<RawReminder> reminders;
    sqlite3_bind_double(upcoming_, 1, now);
    sqlite3_bind_double(passed_, 1, now);
    for (auto* statement : {mac_, upcoming_, passed_, seen_}) {
        while (sqlite3_step(statement) == SQLITE_ROW) {
            reminders.push_back(read(statement));
        }
        sqlite3_reset(statement);
    }
    return reminders;
}

std::optional<RawReminder> RawStore::find(const std::string& id) {
    sqlite3_bind_text(find_, 1, id.data(), static_cast<int>(id.size()), SQLITE_STATIC);
    std::optional<RawReminder> found;
    if (sqlite3_step(find_) == SQLITE_ROW) {
        found = read(find_);
    }
    sqlite3_reset(find_);
    return found;
}

void RawStore::insert(const RawRecord& record) {
    sqlite3_bind_text(insert_, 1, record.id.data(), static_cast<int>(record.id.size()), SQLITE_STATIC);
    sqlite3_bind_text(insert_, 2, record.title.data(), static_cast<int>(record.title.size()), SQLITE_STATIC);
    sqlite3_bind_int(insert_, 3, record.deleted ? 1 : 0);
    sqlite3_bind_int(insert_, 4, record.shown ? 1 : 0);
    sqlite3_bind_double(insert_, 5, record.completionDate);
    sqlite3_bind_int(insert_, 6, record.pending ? 1 : 0);
    sqlite3_bind_int64(insert_, 7, record.device);
    sqlite3_bind_double(insert_, 8, record.date);
    run(insert_);
}

void RawStore::run(sqlite3_stmt* statement) {
    check(sqlite3_step(statement) == SQLITE_DONE, sqlite3_sql(statement));
    sqlite3_reset(statement);
}

sqlite3_stmt* RawStore::prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v3(database_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) == SQLITE_OK, sql);
    return statement;
}

RawReminder RawStore::read(sqlite3_stmt* row) {
    const auto text = [&](int column) {
        const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
        return std::string(data, static_cast<std::size_t>(sqlite3_column_bytes(row, column)));
    };
    return {text(0), text(1), sqlite3_column_int(row, 2) != 0, sqlite3_column_int64(row, 3),
            sqlite3_column_double(row, 4)};
}

}  // namespace quendokit::bench
