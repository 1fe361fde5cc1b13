#include "apps/quendo/cloud/cloud_check.hpp"

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "apps/quendo/cloud/connection.hpp"

namespace quendo {

namespace {

/// The answer to the question, which may come when nobody waits any more.
struct CloudAnswer {
    std::mutex mutex;
    /// Absent until it came.
    std::optional<std::optional<quendokit::Error>> error;
};

}  // namespace

std::optional<Failure> checkCloud(const quendokit::WebAccount& account,
                                  const std::shared_ptr<quendokit::WebTokenStore>& tokens,
                                  std::chrono::seconds patience) {
    const auto wakeUp = std::make_shared<std::condition_variable>();
    const auto mutex = std::make_shared<std::mutex>();
    const auto wait = [&](const std::function<bool()>& isDone, std::chrono::seconds atMost) {
        std::unique_lock lock(*mutex);
        wakeUp->wait_for(lock, atMost, isDone);
    };
    return checkCloud(account, tokens, patience, wait, [wakeUp, mutex] {
        // Not between the other's question and its sleep.
        const std::lock_guard lock(*mutex);
        wakeUp->notify_all();
    });
}

std::optional<Failure> checkCloud(const quendokit::WebAccount& account,
                                  const std::shared_ptr<quendokit::WebTokenStore>& tokens,
                                  std::chrono::seconds patience, const CloudWait& wait, std::function<void()> wakes) {
    using quendokit::CKFetchRecordZonesOperation;
    auto connection = CloudConnection::open(account, tokens, [](const std::string&) {});
    if (!connection) {
        return connection.failure();
    }
    // Any answer to a question about the zone shows that the tokens are good.
    const auto answer = std::make_shared<CloudAnswer>();
    const auto question = std::make_shared<CKFetchRecordZonesOperation>(
        std::vector{quendokit::CKRecordZoneID{std::string(reminderZoneName)}});
    question->fetchRecordZonesCompletion = [answer, wakes = std::move(wakes)](const auto&, const auto& error) {
        {
            const std::lock_guard lock(answer->mutex);
            answer->error = error;
        }
        wakes();
    };
    connection.value()->containers()->privateCloudDatabase(account.container)->add(question);
    const auto hasCome = [&] {
        const std::lock_guard lock(answer->mutex);
        return answer->error.has_value();
    };
    wait(hasCome, patience);
    if (!hasCome()) {
        return Failure{ExitCode::cloud, "the cloud at " + account.url + " has not answered within " +
                                            std::to_string(patience.count()) +
                                            " seconds; see that it is reachable and try again"};
    }
    const std::lock_guard lock(answer->mutex);
    return *answer->error ? std::optional(failureOf(**answer->error)) : std::nullopt;
}

}  // namespace quendo
