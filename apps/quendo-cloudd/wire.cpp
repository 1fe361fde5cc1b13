#include "apps/quendo-cloudd/wire.hpp"

#include <nlohmann/json.hpp>

#include "apps/quendo-cloudd/secrets.hpp"
#include "quendokit/platform/realm_error.hpp"

namespace cloudd {
namespace {

using quendokit::isRealmError;
using quendokit::RealmErrorCode;

struct Meaning {
    const char* name;
    int status;
};

Meaning meaningOf(ErrorCode code) {
    switch (code) {
        case ErrorCode::accessDenied:
            return {"ACCESS_DENIED", 403};
        case ErrorCode::atomicError:
            return {"ATOMIC_ERROR", 400};
        case ErrorCode::authenticationFailed:
            return {"AUTHENTICATION_FAILED", 401};
        case ErrorCode::authenticationRequired:
            return {"AUTHENTICATION_REQUIRED", 421};
        case ErrorCode::badRequest:
            return {"BAD_REQUEST", 400};
        case ErrorCode::conflict:
            return {"CONFLICT", 409};
        case ErrorCode::exists:
            return {"EXISTS", 409};
        case ErrorCode::internalError:
            return {"INTERNAL_ERROR", 500};
        case ErrorCode::notFound:
            return {"NOT_FOUND", 404};
        case ErrorCode::quotaExceeded:
            return {"QUOTA_EXCEEDED", 413};
        case ErrorCode::throttled:
            return {"THROTTLED", 429};
        case ErrorCode::tryAgainLater:
            return {"TRY_AGAIN_LATER", 503};
        case ErrorCode::zoneNotFound:
            return {"ZONE_NOT_FOUND", 404};
    }
    return {"INTERNAL_ERROR", 500};
}

}  // namespace

int statusOf(ErrorCode code) {
    return meaningOf(code).status;
}

nlohmann::json toJson(const WireError& error) {
    nlohmann::json result{
        {"uuid", randomUuid()}, {"serverErrorCode", meaningOf(error.code).name}, {"reason", error.reason}};
    if (error.retryAfter) {
        result["retryAfter"] = *error.retryAfter;
    }
    if (!error.redirectURL.empty()) {
        result["redirectURL"] = error.redirectURL;
    }
    return result;
}

Answer refusal(const WireError& error) {
    return {statusOf(error.code),
            {{"Content-Type", "application/json; charset=UTF-8"}},
            toJson(error).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)};
}

WireError wireErrorOf(const quendokit::Error& error) {
    if (isRealmError(error, RealmErrorCode::full)) {
        return {ErrorCode::quotaExceeded, "the server's disk is full; nothing was changed", {}, {}, error.description};
    }
    if (isRealmError(error, RealmErrorCode::locked)) {
        return {ErrorCode::tryAgainLater, "the server is busy; nothing was changed", 1.0, {}, error.description};
    }
    return {ErrorCode::internalError, "the server cannot use its files; its log says why", {}, {}, error.description};
}

}  // namespace cloudd
