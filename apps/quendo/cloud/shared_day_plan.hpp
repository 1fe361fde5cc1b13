#pragma once
/// \file
/// `SharedDayPlan`, the way of the day plan to the person's other devices.

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string_view>

#include "adapters/cloudkit_web/cloud_key_value_store.hpp"
#include "apps/quendo/cloud/deferred_database.hpp"
#include "quendokit/platform/dispatch_queue.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/property_value.hpp"

namespace quendo {

/// The settings that all devices share, with a copy in a file of this home. Nothing goes to the cloud before `begin`.
/// Main thread, where nothing else is said.
class SharedDayPlan {
public:
    /// `copy` is the file. `mainQueue` gets an empty task whenever `isIdle` may have become true. `onFailure` hears of
    /// the file, on any thread.
    SharedDayPlan(const std::filesystem::path& copy, std::shared_ptr<quendokit::DispatchQueue> mainQueue,
                  std::function<void(const quendokit::Error&)> onFailure);

    /// What the engine mirrors the day plan to.
    [[nodiscard]] std::shared_ptr<quendokit::NSUbiquitousKeyValueStore> store() const { return store_; }

    /// Begins to bring the day plan and the cloud together, there and back.
    void begin(const std::shared_ptr<quendokit::CKDatabase>& database);
    [[nodiscard]] bool isIdle() const { return store_->isIdle(); }
    /// Why it was not brought there or back the last time; absent when it was.
    [[nodiscard]] std::optional<quendokit::Error> lastError() const { return store_->lastError(); }

    /// Another cloud knows nothing of this one's. For a home that leaves its cloud.
    void forget();

private:
    const std::shared_ptr<quendokit::UserDefaults> copy_;
    const std::shared_ptr<DeferredCloudDatabase> database_ = std::make_shared<DeferredCloudDatabase>();
    const std::shared_ptr<quendokit::CloudKeyValueStore> store_;
};

/// The day plan as it stands in the settings of this device, by key.
using StoredDayPlan = std::map<std::string_view, quendokit::PropertyValue>;

[[nodiscard]] StoredDayPlan storedDayPlan();

/// Gives the shared settings what has changed since the plan was `before`. The engine does so as well, seconds later:
/// a command may have ended by then.
void shareChangesSince(const StoredDayPlan& before);

/// Gives the shared settings what this device has and nobody else: it was set before there was a cloud. False when
/// there is nothing of the kind. Only after everything has come from there.
bool shareWhatIsOnlyHere();

}  // namespace quendo
