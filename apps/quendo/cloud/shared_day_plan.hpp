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

    /// For a home that leaves its cloud: another one knows nothing of what this one has. What is unsent stays unsent.
    void leaveCloud();

    /// Whether everything that was set here before there was this cloud is in it.
    [[nodiscard]] bool hasSharedAll() const;
    void setSharedAll();

private:
    const std::shared_ptr<quendokit::UserDefaults> copy_;
    const std::shared_ptr<DeferredCloudDatabase> database_ = std::make_shared<DeferredCloudDatabase>();
    const std::shared_ptr<quendokit::CloudKeyValueStore> store_;
};

/// The day plan as it stands in the settings of this device, by key.
using StoredDayPlan = std::map<std::string_view, quendokit::PropertyValue>;

[[nodiscard]] StoredDayPlan storedDayPlan();

/// Gives `shared` what has changed in the settings since the plan was `before`. The engine does so as well, seconds
/// later, but for what was removed: a command may have ended by then.
void shareChangesSince(const StoredDayPlan& before, quendokit::NSUbiquitousKeyValueStore& shared);
/// The same for what waits in `shared` to be sent, alone: for a home that has left its cloud.
void keepUnsentUpToDate(quendokit::NSUbiquitousKeyValueStore& shared);

/// Puts into the settings what `shared` has and they have not: the program may have ended, or the disk been full, when
/// it came.
void takeOverWhatIsShared(const quendokit::NSUbiquitousKeyValueStore& shared);

/// Gives `shared` what this device has and nobody else: it was set before there was a cloud, or the cloud has lost it.
/// False when there is nothing of the kind. Only after everything has come from there. `hasSharedAll`: what can be
/// removed was shared before, and somebody has removed it.
bool shareWhatIsOnlyHere(quendokit::NSUbiquitousKeyValueStore& shared, bool hasSharedAll);

}  // namespace quendo
