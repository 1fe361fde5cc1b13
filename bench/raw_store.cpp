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

RawStore::RawStore(const std::string& file, Syncs syncs) {
    check(sqlite3_open_v2(file.c_str(), &database_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) == SQLITE_OK,
          "open");
    const char* synchronous = syncs == Syncs::full ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL";
    check(sqlite3_exec(database_, synchronous, nullptr, nullptr, nullptr) == SQLITE_OK, "synchronous");
    const std::string mac = "WHERE deleted = 0 AND _device = 1 AND shown = 0 ";
    const std::string upcoming = "WHERE deleted = 0 AND _device = -1 AND _datetime > ? ";
    const std::string passed = "WHERE deleted = 0 AND _device = -1 AND _datetime < ? ";
    const std::string seen = "WHERE deleted = 0 AND shown = 1 AND _device <> -1 ";
    const std::string count = "SELECT count(*) FROM ReminderItem ";
    const std::string any = "SELECT 1 FROM ReminderItem ";
    begin_ = prepare("BEGIN IMMEDIATE");
    commit_ = prepare("COMMIT");
    insert_ = prepare("INSERT INTO ReminderItem VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
    replace_ = prepare(
        "INSERT INTO ReminderItem VALUES (?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (ID) DO UPDATE SET title = "
        "excluded.title, deleted = excluded.deleted, shown = excluded.shown, completionDate = excluded.completionDate, "
        "pending = excluded.pending, _device = excluded._device, _datetime = excluded._datetime");
    postpone_ =
        prepare("UPDATE ReminderItem SET _datetime = ?1, _device = -1, completionDate = ?1, pending = 1 WHERE ID = ?2");
    mac_ = prepare(columns + mac + "ORDER BY title");
    upcoming_ = prepare(columns + upcoming + "ORDER BY _datetime");
    passed_ = prepare(columns + passed + "ORDER BY _datetime DESC");
    seen_ = prepare(columns + seen + "ORDER BY completionDate DESC");
    find_ = prepare(std::string(columns) + "WHERE ID = ?");
    countMac_ = prepare(count + mac);
    countUpcoming_ = prepare(count + upcoming);
    countPassed_ = prepare(count + passed);
    countSeen_ = prepare(count + seen);
    anyMac_ = prepare(any + mac + "LIMIT 1");
    anyUpcoming_ = prepare(any + upcoming + "LIMIT 1");
    anyPassed_ = prepare(any + passed + "LIMIT 1");
    confirm_ = prepare("UPDATE ReminderItem SET pending = 0 WHERE ID = ?");
    unsent_ = prepare("SELECT * FROM ReminderItem WHERE pending = 1 AND deleted = ?");
}

RawStore::~RawStore() {
    for (auto* statement : statements_) {
        sqlite3_finalize(statement);
    }
    sqlite3_close(database_);
}

void RawStore::store(const RawRecord& record) {
    bind(insert_, record);
    change(insert_);
}

void RawStore::storeAll(const std::vector<RawRecord>& records) {
    run(begin_);
    for (const RawRecord& record : records) {
        bind(insert_, record);
        run(insert_);
    }
    run(commit_);
}

void RawStore::replace(const RawRecord& record) {
    bind(replace_, record);
    change(replace_);
}

void RawStore::postpone(const std::string& id, double date) {
    sqlite3_bind_double(postpone_, 1, date);
    sqlite3_bind_text(postpone_, 2, id.data(), static_cast<int>(id.size()), SQLITE_STATIC);
    change(postpone_);
}

void RawStore::confirmAll() {
    check(sqlite3_exec(database_, "UPDATE ReminderItem SET pending = 0 WHERE pending = 1", nullptr, nullptr, nullptr) ==
              SQLITE_OK,
          "confirm");
}

void RawStore::confirm(const std::vector<std::string>& ids) {
    run(begin_);
    for (const std::string& id : ids) {
        sqlite3_bind_text(confirm_, 1, id.data(), static_cast<int>(id.size()), SQLITE_STATIC);
        run(confirm_);
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

RawCounts RawStore::count(double now) {
    sqlite3_bind_double(countUpcoming_, 1, now);
    sqlite3_bind_double(countPassed_, 1, now);
    return {number(countMac_) + number(countUpcoming_), number(countPassed_) + number(countSeen_)};
}

bool RawStore::hasAny(double now) {
    sqlite3_bind_double(anyUpcoming_, 1, now);
    sqlite3_bind_double(anyPassed_, 1, now);
    return number(anyMac_) == 1 || number(anyUpcoming_) == 1 || number(anyPassed_) == 1;
}

std::vector<RawRecord> RawStore::unsent(bool deleted) {
    sqlite3_bind_int(unsent_, 1, deleted ? 1 : 0);
    std::vector<RawRecord> records;
    while (sqlite3_step(unsent_) == SQLITE_ROW) {
        records.push_back({text(unsent_, 0), text(unsent_, 1), sqlite3_column_int(unsent_, 2) != 0,
                           sqlite3_column_int(unsent_, 3) != 0, sqlite3_column_double(unsent_, 4),
                           sqlite3_column_int(unsent_, 5) != 0, sqlite3_column_int64(unsent_, 6),
                           sqlite3_column_double(unsent_, 7)});
    }
    sqlite3_reset(unsent_);
    return records;
}

void RawStore::bind(sqlite3_stmt* statement, const RawRecord& record) {
    sqlite3_bind_text(statement, 1, record.id.data(), static_cast<int>(record.id.size()), SQLITE_STATIC);
    sqlite3_bind_text(statement, 2, record.title.data(), static_cast<int>(record.title.size()), SQLITE_STATIC);
    sqlite3_bind_int(statement, 3, record.deleted ? 1 : 0);
    sqlite3_bind_int(statement, 4, record.shown ? 1 : 0);
    sqlite3_bind_double(statement, 5, record.completionDate);
    sqlite3_bind_int(statement, 6, record.pending ? 1 : 0);
    sqlite3_bind_int64(statement, 7, record.device);
    sqlite3_bind_double(statement, 8, record.date);
}

/// The first column of the first row; 0 when there is none.
std::int64_t RawStore::number(sqlite3_stmt* statement) {
    const std::int64_t answer = sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int64(statement, 0) : 0;
    sqlite3_reset(statement);
    return answer;
}

void RawStore::change(sqlite3_stmt* statement) {
    run(begin_);
    run(statement);
    run(commit_);
}

void RawStore::run(sqlite3_stmt* statement) {
    check(sqlite3_step(statement) == SQLITE_DONE, sqlite3_sql(statement));
    sqlite3_reset(statement);
}

sqlite3_stmt* RawStore::prepare(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v3(database_, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) == SQLITE_OK,
          sql.c_str());
    statements_.push_back(statement);
    return statement;
}

std::string RawStore::text(sqlite3_stmt* row, int column) {
    const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
    return {data, static_cast<std::size_t>(sqlite3_column_bytes(row, column))};
}

RawReminder RawStore::read(sqlite3_stmt* row) {
    return {text(row, 0), text(row, 1), sqlite3_column_int(row, 2) != 0, sqlite3_column_int64(row, 3),
            sqlite3_column_double(row, 4)};
}

}  // namespace quendokit::bench
