#pragma once
/// \file
/// The errors of the cloud's database.

#include <string>
#include <string_view>
#include <utility>

#include "quendokit/platform/error.hpp"

namespace quendokit {

/// The `domain` of every error that a `CKDatabase` answers.
inline constexpr std::string_view CKErrorDomain = "CKErrorDomain";

/// What a `CKDatabase` answers as `Error::code`, with the platform's numbers.
enum class CKErrorCode : int {
    /// The server or the adapter failed in a way that nothing here can mend.
    internalError = 1,
    /// Some of the items were refused, so none was taken; nothing says which were refused.
    partialFailure = 2,
    /// There is no network.
    networkUnavailable = 3,
    /// The network broke off; the server may have done what was asked.
    networkFailure = 4,
    badContainer = 5,
    serviceUnavailable = 6,
    requestRateLimited = 7,
    /// Nobody is signed in, or no longer.
    notAuthenticated = 9,
    permissionFailure = 10,
    /// There is no such item.
    unknownItem = 11,
    invalidArguments = 12,
    serverRecordChanged = 14,
    serverRejectedRequest = 15,
    operationCancelled = 20,
    /// The token is of no use: the changes are to be read from the beginning.
    changeTokenExpired = 21,
    batchRequestFailed = 22,
    zoneBusy = 23,
    quotaExceeded = 25,
    zoneNotFound = 26,
    /// More was asked for at once than one request takes.
    limitExceeded = 27,
};

/// `description` is one line for a person.
[[nodiscard]] inline Error makeCKError(CKErrorCode code, std::string description) {
    return {std::string(CKErrorDomain), static_cast<int>(code), std::move(description)};
}

[[nodiscard]] inline bool isCKError(const Error& error, CKErrorCode code) {
    return error.domain == CKErrorDomain && error.code == static_cast<int>(code);
}

}  // namespace quendokit
