#pragma once
/// \file
/// One signed-in request on its way to the operation that it asks for.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "apps/quendo-cloudd/accounts.hpp"
#include "apps/quendo-cloudd/user_store.hpp"
#include "apps/quendo-cloudd/wire.hpp"

namespace cloudd {

/// Limits of what one user may keep and ask.
inline constexpr std::size_t mostOperations = 200;
inline constexpr std::size_t mostRecordsInAnswer = 200;
inline constexpr std::size_t mostRecordBytes = 1'000'000;
inline constexpr std::int64_t mostLiveRecords = 100'000;
inline constexpr std::size_t mostZones = 1'000;
inline constexpr std::int64_t mostScopes = 100;
inline constexpr std::size_t mostSubscriptions = 1'000;

enum class RecordEvent { created = 1, updated = 2, deleted = 3 };

struct ChangedRecord {
    std::string name;
    std::string type;
    RecordEvent event;
};

/// What an operation changed, for those who listen.
struct Announcement {
    /// Empty when nothing changed.
    std::string zone;
    std::vector<ChangedRecord> records = {};
};

struct Call {
    Device device;
    /// The caller's record name, `_` and 32 hexadecimal digits.
    std::string user;
    Scope scope;
    /// The client's name for itself; empty when it has none.
    std::string client;
    /// Where the server is reached.
    std::string origin;
    nlohmann::json body;
    std::int64_t nowMilliseconds = 0;
    Accounts& accounts;
    UserStore& store;
    /// Filled by operations that change something, once it is durable.
    std::vector<Announcement> announcements = {};
};

/// The operations. Each answers the body of a 200, or the error of the request as a whole.
[[nodiscard]] Reply<nlohmann::json> listZones(Call& call);
[[nodiscard]] Reply<nlohmann::json> lookUpZones(Call& call);
[[nodiscard]] Reply<nlohmann::json> modifyZones(Call& call);
[[nodiscard]] Reply<nlohmann::json> modifyRecords(Call& call);
[[nodiscard]] Reply<nlohmann::json> lookUpRecords(Call& call);
[[nodiscard]] Reply<nlohmann::json> changesInZones(Call& call);
[[nodiscard]] Reply<nlohmann::json> changesInOneZone(Call& call);
[[nodiscard]] Reply<nlohmann::json> changesInDatabase(Call& call);
[[nodiscard]] Reply<nlohmann::json> changedZones(Call& call);
[[nodiscard]] Reply<nlohmann::json> listSubscriptions(Call& call);
[[nodiscard]] Reply<nlohmann::json> lookUpSubscriptions(Call& call);
[[nodiscard]] Reply<nlohmann::json> modifySubscriptions(Call& call);
[[nodiscard]] Reply<nlohmann::json> createCourierToken(Call& call);
[[nodiscard]] Reply<nlohmann::json> registerCourierToken(Call& call);
[[nodiscard]] Reply<nlohmann::json> currentUser(Call& call);
[[nodiscard]] Reply<nlohmann::json> caller(Call& call);

/// What an operation made of the store.
struct StoreChange {
    /// The body of a 200.
    nlohmann::json answer;
    /// Otherwise nothing of it is stored.
    bool isKept = true;
};

/// Runs `work` in one transaction over the row of the call's scope, which is made when nothing was stored there yet.
/// When it fails, or what it did cannot be kept, nothing has changed and nobody is told of anything.
[[nodiscard]] Reply<nlohmann::json> changeStore(Call& call, const std::function<Reply<StoreChange>(ScopeRow&)>& work);

}  // namespace cloudd
