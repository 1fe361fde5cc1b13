/// \file
/// The day plan on its way to the person's other devices.

#include <algorithm>
#include <utility>

#include "adapters/event_loop/event_loop.hpp"
#include "apps/quendo/session_cloud_internal.hpp"
#include "hostkit/transient_error.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"

namespace quendo {

std::optional<Failure> Session::shareDayPlan(std::chrono::steady_clock::time_point end) {
    constexpr std::chrono::seconds pause(1);
    const auto rest = [&] {
        return std::max<std::chrono::nanoseconds>(end - std::chrono::steady_clock::now(), std::chrono::seconds(0));
    };
    if (auto failure = openConnection()) {
        return failure;
    }
    SharedDayPlan& plan = *cloud_->dayPlan;
    auto& shared = quendokit::NSUbiquitousKeyValueStore::defaultStore();
    takeOverWhatIsShared(shared);
    for (;;) {
        plan.begin(cloud_->connection->containers()->privateCloudDatabase(cloud_->account->container));
        if (!mainLoop_->runUntil([&] { return plan.isIdle(); }, rest())) {
            return Failure{ExitCode::cloud, "the cloud at " + cloud_->account->url + " has not answered"};
        }
        const auto error = plan.lastError();
        if (!error && !shareWhatIsOnlyHere(shared, plan.hasSharedAll())) {
            plan.setSharedAll();
            takeOverWhatIsShared(shared);
            // What has come may have queued warnings.
            static_cast<void>(mainLoop_->runUntil([] { return false; }, std::chrono::nanoseconds(0)));
            return takeFailure();
        }
        if (error && (!quendokit::isTransient(*error, true) || rest() <= pause)) {
            return failureOf(*error);
        }
        if (error) {
            static_cast<void>(mainLoop_->runUntil([] { return false; }, pause));
        }
    }
}

}  // namespace quendo
