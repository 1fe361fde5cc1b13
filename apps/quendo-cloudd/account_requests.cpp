#include <utility>

#include "apps/quendo-cloudd/call.hpp"
#include "apps/quendo-cloudd/courier_tokens.hpp"
#include "apps/quendo-cloudd/json_reading.hpp"

namespace cloudd {
namespace {

using nlohmann::json;

struct PushRequest {
    std::string environment;
    std::string client;
    /// Empty when it was not given.
    std::string token;
};

Reply<PushRequest> readPushRequest(const Call& call) {
    auto environment = optionalText(call.body, "apnsEnvironment");
    auto client = optionalText(call.body, "clientId");
    auto token = optionalText(call.body, "apnsToken");
    if (!environment || (environment.value() != "development" && environment.value() != "production")) {
        return badRequest("apnsEnvironment is neither development nor production");
    }
    if (!client || !token) {
        return badRequest("clientId and apnsToken are texts");
    }
    PushRequest request{*environment.value(), client.value().value_or(call.client), token.value().value_or("")};
    if (request.client.size() > 255) {
        return badRequest("clientId is longer than 255 bytes");
    }
    return request;
}

}  // namespace

Reply<json> createCourierToken(Call& call) {
    auto request = readPushRequest(call);
    if (!request) {
        return request.error();
    }
    auto token = CourierTokens(call.accounts)
                     .create(call.device, call.scope, request.value().client, call.nowMilliseconds / 1000);
    if (!token) {
        return token.error();
    }
    return json{{"apnsEnvironment", request.value().environment},
                {"apnsToken", token.value()},
                {"webcourierURL", call.origin + "/courier?tok=" + token.value() +
                                      "&ttl=" + std::to_string(CourierTokens::lifetimeSeconds)}};
}

Reply<json> registerCourierToken(Call& call) {
    auto request = readPushRequest(call);
    if (!request) {
        return request.error();
    }
    if (request.value().token.empty()) {
        return badRequest("apnsToken is missing");
    }
    auto registered =
        CourierTokens(call.accounts)
            .registerToken(call.device, request.value().token, request.value().client, call.nowMilliseconds / 1000);
    if (!registered) {
        return registered.error();
    }
    if (!registered.value()) {
        return WireError{ErrorCode::notFound, "there is no such push token; create a new one"};
    }
    return json::object();
}

Reply<json> currentUser(Call& call) {
    return json{{"userRecordName", call.user}};
}

Reply<json> caller(Call& call) {
    return json{{"users", json::array({{{"userRecordName", call.user}}})}};
}

}  // namespace cloudd
