#pragma once
/// \file
/// `ThreadedCloud`, a cloud with threads of its own, for ThreadSanitizer to watch.

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "quendokit/platform/ck_database.hpp"

namespace quendokit::testing {

/// Keeps one zone's records and answers on its threads, several operations at once and in any order. Until `beQuiet`
/// some operations fail, subscriptions are refused, and another device changes records and saves some that are no
/// reminders. A download from the beginning tells of every name there ever was, deleted ones too, in pages. Any thread.
class ThreadedCloud final : public CKDatabase {
public:
    /// What was answered, counted when the completion had returned.
    struct Counts {
        std::size_t passes = 0;
        std::size_t failedUploads = 0;
        std::size_t endedUploads = 0;
        std::size_t failedDownloads = 0;
        /// Without an error and without another page to come.
        std::size_t endedDownloads = 0;
        std::size_t confirmedNames = 0;
        std::size_t sentRecords = 0;
        std::size_t sentDeletions = 0;
    };

    /// Calls `didFinish` on one of its threads after each answer.
    ThreadedCloud(std::size_t threadCount, std::function<void()> didFinish);
    ~ThreadedCloud() override { stop(); }

    void add(std::shared_ptr<CKDatabaseOperation> operation) override;
    void fetch(const std::string& subscriptionID, SubscriptionCompletion completion) override;
    void save(const CKSubscription& subscription, SubscriptionCompletion completion) override;
    void fetchAllSubscriptions(SubscriptionsCompletion completion) override;

    /// From now on nothing fails and nobody else changes anything.
    void beQuiet();
    /// Ends the threads; what has not begun is dropped. Not on one of them.
    void stop();
    /// Waits until fewer than `count` answers are due; false when the cloud has become quiet.
    [[nodiscard]] bool waitForFewerThan(std::size_t count);

    [[nodiscard]] std::size_t dueCount() const;
    [[nodiscard]] Counts counts() const;
    /// The reminders that exist, by name.
    [[nodiscard]] std::map<std::string, CKRecord> records() const;

private:
    class Answer;
    using Task = std::function<void(std::mt19937&)>;
    using Position = std::size_t;
    struct Change {
        std::string name;
        /// Absent when it was deleted.
        std::optional<CKRecord> record;
    };
    struct Page {
        std::vector<Change> changes;
        Position end;
        bool moreComing;
    };

    void submit(Task task);
    void work(unsigned seed);
    [[nodiscard]] bool isQuiet() const;
    /// Holds the lock.
    void record(const std::string& name, std::optional<CKRecord> record);
    void changeFromElsewhere(std::mt19937& random);
    [[nodiscard]] static bool isReminder(const Change& change);
    [[nodiscard]] Page pageAfter(Position position) const;

    const std::function<void()> didFinish_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool quiet_ = false;
    bool stopped_ = false;
    std::deque<Task> tasks_;
    std::size_t due_ = 0;
    Counts counts_;
    /// The last change of each name, in the order of the changes.
    std::map<Position, Change> changes_;
    std::map<std::string, Position> positions_;
    Position last_ = 0;
    bool hasZone_ = false;
    std::vector<CKSubscription> subscriptions_;
    /// What waits for an operation that nobody added.
    std::vector<std::shared_ptr<CKDatabaseOperation>> unready_;
    std::vector<std::thread> threads_;
};

}  // namespace quendokit::testing
