#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "adapters/cloudkit_web/url_internal.hpp"
#include "adapters/cloudkit_web/web_error_internal.hpp"

namespace quendokit::web {
namespace {

struct Meaning {
    std::string_view serverErrorCode;
    CKErrorCode code;
};

constexpr std::array<Meaning, 17> meanings = {{
    {"ACCESS_DENIED", CKErrorCode::permissionFailure},
    {"ATOMIC_ERROR", CKErrorCode::batchRequestFailed},
    {"AUTHENTICATION_FAILED", CKErrorCode::notAuthenticated},
    {"AUTHENTICATION_REQUIRED", CKErrorCode::notAuthenticated},
    {"BAD_REQUEST", CKErrorCode::invalidArguments},
    {"CHANGE_TOKEN_EXPIRED", CKErrorCode::changeTokenExpired},
    {"CONFLICT", CKErrorCode::serverRecordChanged},
    {"EXISTS", CKErrorCode::serverRecordChanged},
    {"INTERNAL_ERROR", CKErrorCode::internalError},
    {"NOT_FOUND", CKErrorCode::unknownItem},
    {"QUOTA_EXCEEDED", CKErrorCode::quotaExceeded},
    {"THROTTLED", CKErrorCode::requestRateLimited},
    {"TRY_AGAIN_LATER", CKErrorCode::serviceUnavailable},
    {"UNIQUE_FIELD_ERROR", CKErrorCode::serverRejectedRequest},
    {"UNKNOWN_ITEM", CKErrorCode::unknownItem},
    {"VALIDATING_REFERENCE_ERROR", CKErrorCode::serverRejectedRequest},
    {"ZONE_NOT_FOUND", CKErrorCode::zoneNotFound},
}};

constexpr std::string_view noHandler = "could not find handler for endpoint";

bool says(const std::string& reason, std::string_view words) {
    return reason.find(words) != std::string::npos;
}

CKErrorCode codeOf(const ServerFailure& failure, CKErrorCode otherwise) {
    if (failure.code == "TRY_AGAIN_LATER" && says(failure.reason, "Op-Lock")) {
        return CKErrorCode::zoneBusy;
    }
    if (says(failure.reason, noHandler)) {
        // Comes under load, too, and goes by itself.
        return CKErrorCode::serviceUnavailable;
    }
    const auto* known = std::find_if(meanings.begin(), meanings.end(),
                                     [&](const Meaning& each) { return each.serverErrorCode == failure.code; });
    return known == meanings.end() ? otherwise : known->code;
}

CKErrorCode codeOfStatus(int status) {
    switch (status) {
        case 400:
        case 412:
            return CKErrorCode::invalidArguments;
        case 401:
        case 421:
            return CKErrorCode::notAuthenticated;
        case 403:
            return CKErrorCode::permissionFailure;
        case 409:
            return CKErrorCode::serverRecordChanged;
        case 413:
            return CKErrorCode::limitExceeded;
        case 429:
            return CKErrorCode::requestRateLimited;
        default:
            break;
    }
    if (status >= 300 && status < 400) {
        // A network's own sign-in page, most likely; the service itself sends nobody elsewhere.
        return CKErrorCode::networkFailure;
    }
    // A 404 without a code of the service's is a gateway's, or comes under load.
    const bool passes = status >= 500 || status == 404 || status == 408;
    return passes ? CKErrorCode::serviceUnavailable : CKErrorCode::internalError;
}

/// `signInURL` may be empty.
std::string adviceFor(CKErrorCode code, const std::string& signInURL) {
    switch (code) {
        case CKErrorCode::notAuthenticated: {
            // What stands behind the path is not for the eyes of others.
            constexpr std::size_t longest = 200;
            const std::string place = signInURL.substr(0, signInURL.find_first_of("?#"));
            const bool isSaid = !place.empty() && place.size() <= longest;
            return "; sign in again " + (isSaid ? "at " + place + " " : "") + "and connect with the new token";
        }
        case CKErrorCode::permissionFailure:
            return "; allow access to cloud data on the web for this account";
        case CKErrorCode::quotaExceeded:
            return "; make room in the cloud";
        case CKErrorCode::internalError:
        case CKErrorCode::partialFailure:
        case CKErrorCode::networkUnavailable:
        case CKErrorCode::networkFailure:
        case CKErrorCode::badContainer:
        case CKErrorCode::serviceUnavailable:
        case CKErrorCode::requestRateLimited:
        case CKErrorCode::unknownItem:
        case CKErrorCode::invalidArguments:
        case CKErrorCode::serverRecordChanged:
        case CKErrorCode::serverRejectedRequest:
        case CKErrorCode::operationCancelled:
        case CKErrorCode::changeTokenExpired:
        case CKErrorCode::batchRequestFailed:
        case CKErrorCode::zoneBusy:
        case CKErrorCode::zoneNotFound:
        case CKErrorCode::limitExceeded:
            return "";
    }
    return "";
}

std::optional<double> retryAfterIn(const Json& item) {
    constexpr double longest = 86'400;
    const Json* seconds = member(item, "retryAfter");
    if (seconds == nullptr || !seconds->is_number()) {
        return std::nullopt;
    }
    const auto value = seconds->get<double>();
    // A server's slip must not keep a device from its cloud for years.
    return value >= 0 ? std::optional(std::min(value, longest)) : std::nullopt;
}

std::string reasonIn(const Json& item) {
    const std::string* reason = textMember(item, "reason");
    return reason == nullptr ? std::string() : asPartOfALine(*reason);
}

std::string signInURLIn(const Json& item) {
    constexpr std::size_t longest = 2'000;
    const std::string* url = textMember(item, "redirectURL");
    if (url == nullptr || url->size() > longest || hostOf(*url).empty()) {
        return {};
    }
    const std::string scheme = schemeOf(*url);
    const bool isPlain = std::all_of(url->begin(), url->end(), [](char c) { return c > ' ' && c <= '~'; });
    return isPlain && (scheme == "https" || scheme == "http") ? *url : std::string();
}

Error errorOf(const ServerFailure& failure, CKErrorCode otherwise) {
    const CKErrorCode code = codeOf(failure, otherwise);
    Error error = makeCKError(code, lineOf(failure) + adviceFor(code, failure.signInURL));
    error.retryAfter = failure.retryAfter;
    return error;
}

}  // namespace

std::optional<ServerFailure> serverFailureIn(const Json& item) {
    const Json* code = member(item, "serverErrorCode");
    if (code == nullptr) {
        return std::nullopt;
    }
    const auto* text = code->get_ptr<const std::string*>();
    return ServerFailure{text == nullptr ? "no code" : asPartOfALine(*text), reasonIn(item), retryAfterIn(item),
                         signInURLIn(item)};
}

bool isWithoutHandler(const Error& error) {
    return isCKError(error, CKErrorCode::serviceUnavailable) && says(error.description, noHandler);
}

std::string signInURLOf(const std::string& body) {
    const auto json = parsed(body);
    const auto failure = json ? serverFailureIn(json.value()) : std::nullopt;
    return failure ? failure->signInURL : std::string();
}

std::string lineOf(const ServerFailure& failure) {
    return failure.reason.empty() ? failure.code : failure.reason + " (" + failure.code + ")";
}

Error errorOf(const ServerFailure& failure) {
    return errorOf(failure, CKErrorCode::serverRejectedRequest);
}

Error errorOfAnswer(int status, const std::string& body) {
    const auto json = parsed(body);
    if (const auto failure = json ? serverFailureIn(json.value()) : std::nullopt) {
        return errorOf(*failure, codeOfStatus(status));
    }
    const CKErrorCode code = codeOfStatus(status);
    std::string line = "HTTP status " + std::to_string(status);
    Error error = makeCKError(code, std::move(line));
    if (json) {
        const std::string reason = reasonIn(json.value());
        error.description += reason.empty() ? "" : ": " + reason;
        error.retryAfter = retryAfterIn(json.value());
    }
    if (status >= 300 && status < 400) {
        error.description += ", which leads elsewhere; does a sign-in page of the network stand in between?";
    }
    error.description += adviceFor(code, "");
    return error;
}

Error oddAnswer(const std::string& what) {
    return makeCKError(CKErrorCode::internalError, what);
}

}  // namespace quendokit::web
