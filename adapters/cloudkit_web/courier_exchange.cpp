#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/courier_exchange_internal.hpp"
#include "adapters/cloudkit_web/url_internal.hpp"
#include "adapters/cloudkit_web/web_error_internal.hpp"
#include "adapters/cloudkit_web/web_json_internal.hpp"

namespace quendokit::web {
namespace {

Json deviceOf(const WebAccount& account) {
    Json json = Json::object();
    json["apnsEnvironment"] = account.environment;
    if (!account.clientID.empty()) {
        json["clientId"] = account.clientID;
    }
    return json;
}

}  // namespace

std::string addressQuestion(const WebAccount& account) {
    return rendered(deviceOf(account)).value_or("{}");
}

std::string registration(const WebAccount& account, const std::string& token) {
    Json json = deviceOf(account);
    json["apnsToken"] = token;
    return rendered(json).value_or("{}");
}

Result<CourierAddress> addressIn(const WebAccount& account, const std::string& answer) {
    const auto json = parsed(answer);
    if (!json) {
        return json.error();
    }
    if (const auto failure = serverFailureIn(json.value())) {
        return errorOf(*failure);
    }
    const std::string* token = textMember(json.value(), "apnsToken");
    const std::string* url = textMember(json.value(), "webcourierURL");
    if (token == nullptr || token->empty() || url == nullptr) {
        return oddAnswer("the answer has no address of a courier");
    }
    const std::string scheme = schemeOf(*url);
    const bool isPlainToo = scheme == "http" && schemeOf(account.url) == "http";
    if (hostOf(*url).empty() || (scheme != "https" && !isPlainToo)) {
        return oddAnswer("the courier's address is no https URL");
    }
    return CourierAddress{*token, *url};
}

CourierNews newsIn(const std::string& answer) {
    if (answer.find_first_not_of(" \t\r\n") == std::string::npos) {
        return CourierNews::nothing;
    }
    const auto json = parsed(answer);
    if (!json || !json.value().is_object()) {
        return CourierNews::odd;
    }
    // Which subscription it was is no matter: all changes are read after any.
    return json.value().contains("ck") ? CourierNews::change : CourierNews::nothing;
}

}  // namespace quendokit::web
