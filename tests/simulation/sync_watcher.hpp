#pragma once
/// \file
/// `SyncWatcher`, which sees changes get lost where it happens.

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "quendokit/platform/ck_database.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/store/reminder_item.hpp"
#include "tests/simulation/hazard.hpp"

namespace quendokit::simulation {

/// Stands between a device's manager and its database, and around the tasks of its main queue. Changes nothing.
class SyncWatcher final : public std::enable_shared_from_this<SyncWatcher> {
public:
    /// What the device has stored under an id.
    using LookUp = std::function<std::optional<ReminderItem>(const std::string&)>;
    /// The ids of the records that the device has stored and holds for sent.
    using SentIDs = std::function<std::set<std::string>()>;
    /// The names of the records on the server.
    using ServerNames = std::function<std::set<std::string>()>;

    SyncWatcher(std::shared_ptr<Findings> findings, LookUp lookUp, SentIDs sentIDs, ServerNames serverNames);
    ~SyncWatcher();

    [[nodiscard]] std::shared_ptr<CKDatabase> watch(std::shared_ptr<CKDatabase> database);
    [[nodiscard]] DispatchQueue::Task watch(DispatchQueue::Task task);

    /// The process ends with what still waits on its main queue.
    void processEnds();

private:
    class Database;
    class Hop;
    struct Page;

    void fetched(const CKRecord& record, const Page& page);
    void confirmed(const CKRecord& uploaded);
    void readFromTheBeginning();

    const std::shared_ptr<Findings> findings_;
    const LookUp lookUp_;
    const SentIDs sentIDs_;
    const ServerNames serverNames_;
    /// What the callback that runs now is about: tasks that it submits belong to it.
    std::shared_ptr<const Hop> current_;
    /// The next page belongs to a read from the beginning.
    bool goesOnFromTheBeginning_ = false;
    /// Tasks that wait, by what they are about.
    std::multiset<std::shared_ptr<const Hop>> waiting_;
};

}  // namespace quendokit::simulation
