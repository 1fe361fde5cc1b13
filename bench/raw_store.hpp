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

/// How many there are; what a host shows beside a list.
struct RawCounts {
    std::int64_t pending;
    std::int64_t passed;
};

/// Cached statements over a database that the engine made, with WAL. Fatal errors abort.
class RawStore {
public:
    /// Whether each commit waits for the disk, or only the log's transfer into the file does.
    enum class Syncs { full, normal };

    explicit RawStore(const std::string& file, Syncs syncs = Syncs::full);
    RawStore(const RawStore&) = delete;
    RawStore& operator=(const RawStore&) = delete;
    ~RawStore();

    /// One transaction of its own.
    void store(const RawRecord& record);
    /// One transaction for all.
    void storeAll(const std::vector<RawRecord>& records);
    /// Writes the record over the one of the same id, in one transaction.
    void replace(const RawRecord& record);
    /// Another date for a record, in one transaction.
    void postpone(const std::string& id, double date);
    /// Nothing is pending afterwards.
    void confirmAll();
    /// These are sent; one transaction.
    void confirm(const std::vector<std::string>& ids);
    /// Mac by title, upcoming by date, passed with the newest first, each from its index; at the time `now`.
    [[nodiscard]] std::vector<RawReminder> list(double now);
    [[nodiscard]] std::optional<RawReminder> find(const std::string& id);
    /// Counts what `list` reads, each from its index.
    [[nodiscard]] RawCounts count(double now);
    /// Whether `list` reads any.
    [[nodiscard]] bool hasAny(double now);
    /// The pending records, deleted ones or the others.
    [[nodiscard]] std::vector<RawRecord> unsent(bool deleted);

private:
    static void bind(sqlite3_stmt* statement, const RawRecord& record);
    static std::int64_t number(sqlite3_stmt* statement);
    void change(sqlite3_stmt* statement);
    static void run(sqlite3_stmt* statement);
    sqlite3_stmt* prepare(const std::string& sql);
    static std::string text(sqlite3_stmt* row, int column);
    static RawReminder read(sqlite3_stmt* row);

    sqlite3* database_ = nullptr;
    std::vector<sqlite3_stmt*> statements_;
    sqlite3_stmt* begin_;
    sqlite3_stmt* commit_;
    sqlite3_stmt* insert_;
    sqlite3_stmt* replace_;
    sqlite3_stmt* postpone_;
    sqlite3_stmt* mac_;
    sqlite3_stmt* upcoming_;
    sqlite3_stmt* passed_;
    sqlite3_stmt* seen_;
    sqlite3_stmt* find_;
    sqlite3_stmt* countMac_;
    sqlite3_stmt* countUpcoming_;
    sqlite3_stmt* countPassed_;
    sqlite3_stmt* countSeen_;
    sqlite3_stmt* anyMac_;
    sqlite3_stmt* anyUpcoming_;
    sqlite3_stmt* anyPassed_;
    sqlite3_stmt* confirm_;
    sqlite3_stmt* unsent_;
};

}  // namespace quendokit::bench
