#pragma once
/// \file
/// The same work on SQLite without the engine: the yardstick of the benchmarks.

#include <cstdint>
#include <optional>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace quendokit::bench {

/// A reminder as a program would keep it that talks to SQLite itself.
struct RawReminder {
    std::string id;
    std::string title;
    bool shown;
    std::int64_t device;
    double date;
};

/// Every column of a record, ready to be written.
struct RawRecord {
    std::string id;
    std::string title;
    bool deleted;
    bool shown;
    double completionDate;
    bool pending;
    std::int64_t device;
    double date;
};

/// Cached statements over a database that the engine made, with WAL and full syncs. Fatal errors abort.
class RawStore {
public:
    explicit RawStore(const std::string& file);
    RawStore(const RawStore&) = delete;
    RawStore& operator=(const RawStore&) = delete;
    ~RawStore();

    /// One transaction of its own.
    void store(const RawRecord& record);
    /// One transaction for all.
    void storeAll(const std::vector<RawRecord>& records);
    /// Mac by title, upcoming by date, passed with the newest first, each from its index; at the time `now`.
    [[nodiscard]] std::vector<RawReminder> list(double now);
    [[nodiscard]] std::optional<RawReminder> find(const std::string& id);

private:
    void insert(const RawRecord& record);
    static void run(sqlite3_stmt* statement);
    sqlite3_stmt* prepare(const char* sql);
    static RawReminder read(sqlite3_stmt* row);

    sqlite3* database_ = nullptr;
    sqlite3_stmt* begin_;
    sqlite3_stmt* commit_;
    sqlite3_stmt* insert_;
    sqlite3_stmt* mac_;
    sqlite3_stmt* upcoming_;
    sqlite3_stmt* passed_;
    sqlite3_stmt* seen_;
    sqlite3_stmt* find_;
};

}  // namespace quendokit::bench
