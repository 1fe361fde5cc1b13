#pragma once
/// \file
/// What a session has for the cloud.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "apps/quendo/cloud/account.hpp"
#include "apps/quendo/cloud/connection.hpp"
#include "apps/quendo/cloud/shared_day_plan.hpp"
#include "apps/quendo/cloud/sync_record.hpp"
#include "apps/quendo/session.hpp"
#include "hostkit/guarded_container_provider.hpp"
#include "hostkit/token_gate.hpp"

namespace quendo {

/// The account, if there is one, and what stands between it and the engine. The connection is opened by whoever syncs.
struct Session::Cloud {
    /// Where the engine keeps how far it has read the zone.
    static constexpr const char* tokenKey = "quendo.sync.change-token";

    explicit Cloud(const Folders& folders);

    /// Makes the day plan's way, and puts itself into `services`, if there is an account. `onFailure` hears of its
    /// files, on any thread; `warn`, on the main thread, of settings from elsewhere that cannot be used.
    void install(quendokit::platform::Services& services, const Folders& folders,
                 std::function<void(const quendokit::Error&)> onFailure,
                 const std::function<void(const std::string&)>& warn);
    /// What was read of this cloud says nothing about another one.
    void forgetWhatWasRead();

    /// Asks for the databases of the connection, when it is there.
    class Containers;

    AccountFile file;
    std::optional<quendokit::WebAccount> account;
    SyncRecord record;
    std::unique_ptr<CloudConnection> connection;
    std::shared_ptr<quendokit::GuardedContainerProvider> guards;
    std::shared_ptr<quendokit::TokenGate> gate;
    std::unique_ptr<SharedDayPlan> dayPlan;
};

}  // namespace quendo
