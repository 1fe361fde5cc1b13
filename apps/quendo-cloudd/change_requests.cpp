#include <algorithm>
#include <utility>

#include "apps/quendo-cloudd/call.hpp"
#include "apps/quendo-cloudd/json_reading.hpp"
#include "apps/quendo-cloudd/record_operation.hpp"
#include "apps/quendo-cloudd/sync_token.hpp"
#include "apps/quendo-cloudd/zone_id.hpp"

namespace cloudd {
namespace {

using nlohmann::json;

/// A page ends behind the record with which it grows beyond that.
constexpr std::size_t pageBytes = 4'000'000;
constexpr std::int64_t recordsAtATime = 16;

/// What a client wants of a feed.
struct FeedRequest {
    std::optional<std::string> syncToken;
    std::int64_t limit = static_cast<std::int64_t>(mostRecordsInAnswer);
    FieldChoice choice;
    /// All when absent. Deleted records have no type that a client could count on and always come.
    std::optional<std::vector<std::string>> types;
};

Reply<FeedRequest> readFeedRequest(const json& entry, const FeedRequest& otherwise, const char* tokenName) {
    FeedRequest request = otherwise;
    auto token = optionalText(entry, tokenName);
    if (!token) {
        return token.error();
    }
    request.syncToken = token.value() == "" ? std::nullopt : token.value();
    auto limit = optionalCount(entry, "resultsLimit");
    if (!limit) {
        return limit.error();
    }
    if (limit.value()) {
        request.limit = std::clamp<std::int64_t>(*limit.value(), 1, mostRecordsInAnswer);
    }
    auto reverse = optionalFlag(entry, "reverse");
    if (!reverse) {
        return reverse.error();
    }
    if (reverse.value().value_or(false)) {
        return badRequest("changes are answered oldest first only; leave reverse out");
    }
    auto choice = readFieldChoice(entry, otherwise.choice);
    if (!choice) {
        return choice.error();
    }
    request.choice = std::move(choice).value();
    if (const auto types = entry.find("desiredRecordTypes"); types != entry.end() && types->is_array()) {
        request.types.emplace();
        for (const json& type : *types) {
            request.types->push_back(type.is_string() ? type.get<std::string>() : "");
        }
    }
    return request;
}

struct Page {
    json records = json::array();
    std::int64_t reached = 0;
    bool moreComing = false;
};

bool isWanted(const StoredRecord& record, const FeedRequest& request) {
    return record.deleted || !request.types ||
           std::find(request.types->begin(), request.types->end(), record.type) != request.types->end();
}

Reply<Page> readPage(Call& call, const Zone& zone, std::int64_t since, const FeedRequest& request) {
    Page page;
    page.reached = since;
    page.moreComing = true;
    std::size_t bytes = 0;
    std::int64_t left = request.limit;
    // In small steps: a record may be a megabyte.
    while (page.moreComing && left > 0 && bytes < pageBytes) {
        const std::int64_t step = std::min(left, recordsAtATime);
        auto records = call.store.changedRecords(zone, page.reached, step + 1);
        if (!records) {
            return records.error();
        }
        page.moreComing = static_cast<std::int64_t>(records.value().size()) > step;
        if (page.moreComing) {
            records.value().pop_back();
        }
        for (const StoredRecord& record : records.value()) {
            if (bytes >= pageBytes) {
                page.moreComing = true;
                break;
            }
            page.reached = record.sequence;
            --left;
            if (isWanted(record, request)) {
                page.records.push_back(recordJson(record, zone.name, call.user, request.choice));
                bytes += record.fields.size();
            }
        }
    }
    return page;
}

/// The answer for one zone, or why there is none.
Reply<json> zoneChanges(Call& call, const ScopeRow& scope, const ZoneReference& reference, const FeedRequest& request) {
    if (reference.isMine && reference.isDefault()) {
        return badRequest("change feeds not supported in default zone");
    }
    auto zone = call.store.zone(scope, reference.name);
    if (!zone) {
        return zone.error();
    }
    if (!reference.isMine || !zone.value()) {
        return zoneNotFound();
    }
    std::int64_t since = 0;
    if (request.syncToken) {
        const SyncTokenReading reading =
            readSyncToken(*request.syncToken, FeedKind::zone, zone.value()->identity, zone.value()->sequence);
        if (!reading.sequence) {
            return badRequest(reading.reason);
        }
        since = *reading.sequence;
    }
    auto page = readPage(call, *zone.value(), since, request);
    if (!page) {
        return page.error();
    }
    return json{{"zoneID", zoneIDJson(reference.name, call.user)},
                {"syncToken", makeSyncToken(FeedKind::zone, zone.value()->identity, page.value().reached)},
                {"moreComing", page.value().moreComing},
                {"records", std::move(page.value().records)}};
}

json zoneEntry(const Zone& zone, const std::string& user) {
    json entry{{"zoneID", zoneIDJson(zone.name, user)}};
    if (zone.deleted) {
        entry["deleted"] = true;
    } else {
        entry["syncToken"] = makeSyncToken(FeedKind::zone, zone.identity, zone.sequence);
    }
    return entry;
}

/// The feed of changed zones, under the name that the operation has for its token.
Reply<json> databaseChanges(Call& call, const char* tokenName) {
    auto request = readFeedRequest(call.body, {}, tokenName);
    if (!request) {
        return request.error();
    }
    auto scope = call.store.scope(call.scope);
    if (!scope) {
        return scope.error();
    }
    std::int64_t since = 0;
    // Before anything was stored there is nothing that a token could belong to but this.
    const std::string identity = scope.value().id == 0 ? std::string(32, '0') : scope.value().identity;
    if (request.value().syncToken &&
        request.value().syncToken != makeSyncToken(FeedKind::database, std::string(32, '0'), 0)) {
        const SyncTokenReading reading =
            readSyncToken(*request.value().syncToken, FeedKind::database, identity, scope.value().sequence);
        if (!reading.sequence) {
            return badRequest(reading.reason);
        }
        since = *reading.sequence;
    }
    auto zones = call.store.changedZones(scope.value(), since, request.value().limit + 1);
    if (!zones) {
        return zones.error();
    }
    const bool moreComing = static_cast<std::int64_t>(zones.value().size()) > request.value().limit;
    if (moreComing) {
        zones.value().pop_back();
    }
    json list = json::array();
    for (const Zone& zone : zones.value()) {
        since = zone.changed;
        // Who reads from the beginning has no zone that could have gone.
        if (zone.name != defaultZoneName && !(zone.deleted && !request.value().syncToken)) {
            list.push_back(zoneEntry(zone, call.user));
        }
    }
    return json{{tokenName, makeSyncToken(FeedKind::database, identity, since)},
                {"moreComing", moreComing},
                {"zones", std::move(list)}};
}

}  // namespace

Reply<json> changesInZones(Call& call) {
    auto defaults = readFeedRequest(call.body, {}, "syncToken");
    if (!defaults) {
        return defaults.error();
    }
    defaults.value().syncToken.reset();
    auto entries = objects(call.body, "zones", mostOperations);
    if (!entries) {
        return entries.error();
    }
    auto scope = call.store.scope(call.scope);
    if (!scope) {
        return scope.error();
    }
    json list = json::array();
    std::size_t recordCount = 0;
    for (const json& entry : *entries.value()) {
        auto reference = memberZoneID(entry, call.user);
        if (!reference) {
            return reference.error();
        }
        if (!reference.value()) {
            return badRequest("an entry of zones has no zoneID");
        }
        auto request = readFeedRequest(entry, defaults.value(), "syncToken");
        if (request) {
            // All zones of an answer share its records; a zone that finds no room comes with its next request.
            const std::size_t room = mostRecordsInAnswer - std::min(recordCount, mostRecordsInAnswer - 1);
            request.value().limit = std::min(request.value().limit, static_cast<std::int64_t>(room));
        }
        auto changes = request ? zoneChanges(call, scope.value(), *reference.value(), request.value())
                               : Reply<json>(request.error());
        if (!changes && changes.error().code == ErrorCode::internalError) {
            return changes.error();
        }
        if (changes) {
            recordCount += changes.value().at("records").size();
        }
        list.push_back(changes ? std::move(changes).value() : zoneErrorJson(entry.at("zoneID"), changes.error()));
    }
    return json{{"zones", std::move(list)}};
}

Reply<json> changesInOneZone(Call& call) {
    auto reference = memberZoneID(call.body, call.user);
    if (!reference) {
        return reference.error();
    }
    auto request = readFeedRequest(call.body, {}, "syncToken");
    if (!request) {
        return request.error();
    }
    auto scope = call.store.scope(call.scope);
    if (!scope) {
        return scope.error();
    }
    auto changes = zoneChanges(
        call, scope.value(), reference.value().value_or(ZoneReference{std::string(defaultZoneName)}), request.value());
    if (changes) {
        changes.value().erase("zoneID");
        changes.value()["reverse"] = false;
    }
    return changes;
}

Reply<json> changesInDatabase(Call& call) {
    return databaseChanges(call, "syncToken");
}

Reply<json> changedZones(Call& call) {
    return databaseChanges(call, "metaSyncToken");
}

}  // namespace cloudd
