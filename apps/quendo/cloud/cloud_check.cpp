#include "apps/quendo/cloud/cloud_check.hpp"

#include <future>
#include <string>
#include <utility>
#include <vector>

#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/cloud/connection.hpp"

namespace quendo {

std::optional<Failure> checkCloud(const quendokit::WebAccount& account,
                                  const std::shared_ptr<quendokit::WebTokenStore>& tokens,
                                  std::chrono::seconds patience, const std::shared_ptr<quendokit::EventLoop>& loop) {
    using quendokit::CKFetchRecordZonesOperation;
    using Answer = std::optional<quendokit::Error>;
    auto connection = CloudConnection::open(account, tokens, [](const std::string&) {});
    if (!connection) {
        return connection.failure();
    }
    // Any answer to a question about the zone shows that the tokens are good. It may come when nobody waits any more.
    const auto promise = std::make_shared<std::promise<Answer>>();
    auto answer = promise->get_future();
    const auto question = std::make_shared<CKFetchRecordZonesOperation>(
        std::vector{quendokit::CKRecordZoneID{std::string(reminderZoneName)}});
    question->fetchRecordZonesCompletion = [promise, loop](const auto&, const Answer& error) {
        promise->set_value(error);
        if (loop) {
            // Makes it ask again.
            loop->async([] {});
        }
    };
    connection.value()->containers()->privateCloudDatabase(account.container)->add(question);
    const auto isThere = [&](std::chrono::seconds atMost) {
        return answer.wait_for(atMost) == std::future_status::ready;
    };
    const bool came =
        loop ? loop->runUntil([&] { return isThere(std::chrono::seconds(0)); }, patience) : isThere(patience);
    if (!came) {
        return Failure{ExitCode::cloud, "the cloud at " + account.url + " has not answered within " +
                                            std::to_string(patience.count()) +
                                            " seconds; see that it is reachable and try again"};
    }
    const Answer error = answer.get();
    return error ? std::optional(failureOf(*error)) : std::nullopt;
}

}  // namespace quendo
