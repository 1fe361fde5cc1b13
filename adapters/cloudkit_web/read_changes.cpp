#include <cstring>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/answer_items_internal.hpp"
#include "adapters/cloudkit_web/record_exchange_internal.hpp"
#include "adapters/cloudkit_web/record_json_internal.hpp"
#include "adapters/cloudkit_web/web_error_internal.hpp"
#include "adapters/cloudkit_web/zone_json_internal.hpp"

namespace quendokit::web {
namespace {

/// Tokens are some fifty characters long.
constexpr std::size_t longestToken = 16'384;

std::string textOf(const CKServerChangeToken& token) {
    return {reinterpret_cast<const char*>(token.data().data()), token.data().size()};
}

CKServerChangeToken tokenOf(const std::string& text) {
    std::vector<std::byte> data(text.size());
    std::memcpy(data.data(), text.data(), text.size());
    return CKServerChangeToken(std::move(data));
}

Error expired(const std::string& why) {
    return makeCKError(CKErrorCode::changeTokenExpired,
                       why + "; the token is of no use, the changes are to be read from the beginning");
}

/// No code says that a token is of no use: the request counts as a bad one.
Error refusal(const Error& error, bool withToken) {
    return withToken && isCKError(error, CKErrorCode::invalidArguments) ? expired(error.description) : error;
}

/// Adds what `item` tells of; counts it when it tells nothing.
void take(const Json& item, const CKRecordZoneID& zoneID, ChangesPage& page) {
    const auto isDeleted = flagMember(item, "deleted");
    if (serverFailureIn(item) || !isDeleted) {
        ++page.skipped;
        return;
    }
    if (*isDeleted) {
        if (auto recordID = makeRecordID(item, zoneID)) {
            page.changes.emplace_back(*std::move(recordID));
            return;
        }
    } else if (auto record = makeRecord(item, zoneID)) {
        page.changes.emplace_back(*std::move(record));
        return;
    }
    ++page.skipped;
}

}  // namespace

Result<Json> changesToRead(const CKRecordZoneID& zoneID, const std::optional<CKServerChangeToken>& since) {
    if (since && !isPlainText(textOf(*since))) {
        return expired("no server gave out such a token");
    }
    Json zone = Json::object();
    zone["zoneID"] = zoneIDOf(zoneID);
    zone["resultsLimit"] = mostOperations;
    // Left out, not empty, for the beginning: an empty one is answered as if nothing were new.
    if (since && !since->data().empty()) {
        zone["syncToken"] = textOf(*since);
    }
    Json json = Json::object();
    json["zones"] = Json::array();
    json["zones"].push_back(std::move(zone));
    return json;
}

Json changesOfOneZoneToRead(const Json& question) {
    return question["zones"][0];
}

Json asOneOfManyZones(const Json& answer) {
    Json json = Json::object();
    json["zones"] = Json::array();
    json["zones"].push_back(answer);
    return json;
}

Result<ChangesPage> changesPage(const CKRecordZoneID& zoneID, const std::optional<CKServerChangeToken>& since,
                                const Result<Json>& answer) {
    const bool withToken = since && !since->data().empty();
    if (!answer) {
        return refusal(answer.error(), withToken);
    }
    const Json* zones = listMember(answer.value(), "zones");
    const Json* zone = zones == nullptr ? nullptr : answerTo(zoneID.zoneName, 0, *zones, ItemKind::zone);
    if (zone == nullptr) {
        return oddAnswer("the answer says nothing about zone " + asPartOfALine(zoneID.zoneName));
    }
    if (const auto failure = serverFailureIn(*zone)) {
        Error error = errorOf(*failure);
        error.description = "zone " + asPartOfALine(zoneID.zoneName) + ": " + error.description;
        return refusal(error, withToken);
    }
    const Json* records = listMember(*zone, "records");
    const std::string* token = textMember(*zone, "syncToken");
    const auto moreComing = flagMember(*zone, "moreComing");
    if (records == nullptr) {
        return oddAnswer("the answer has no list of records");
    }
    if (token == nullptr || token->empty() || token->size() > longestToken) {
        return oddAnswer("the answer has no token to go on from");
    }
    if (!moreComing) {
        return oddAnswer("the answer does not say whether more is coming");
    }
    ChangesPage page{{}, tokenOf(*token), *moreComing};
    for (const Json& item : *records) {
        take(item, zoneID, page);
    }
    if (since == page.token) {
        // The same question gets the same answer: a page further would be this one again, for ever.
        page.moreComing = false;
    }
    return page;
}

}  // namespace quendokit::web
