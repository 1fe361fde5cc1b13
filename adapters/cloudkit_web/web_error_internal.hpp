#pragma once
/// \file
/// What servers say when they refuse, as errors of `CKErrorDomain`.

#include <optional>
#include <string>

#include "adapters/cloudkit_web/web_json_internal.hpp"
#include "quendokit/platform/ck_error.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit::web {

/// An error dictionary. Plain value.
struct ServerFailure {
    /// As "ZONE_NOT_FOUND".
    std::string code;
    std::string reason = {};
    /// Seconds; absent when it is of no use to try again.
    std::optional<double> retryAfter = {};
    /// Where a person signs in; empty when that is not the matter.
    std::string signInURL = {};
};

/// The failure that `item` is; absent when it is none. Whatever else stands in it, its code decides.
[[nodiscard]] std::optional<ServerFailure> serverFailureIn(const Json& item);

/// "Zone does not exist (ZONE_NOT_FOUND)"
[[nodiscard]] std::string lineOf(const ServerFailure& failure);

/// As one that concerns all of a request, or the item that it was about.
[[nodiscard]] Error errorOf(const ServerFailure& failure);

/// For an answer of a status other than 200, of the server or of somebody in between.
[[nodiscard]] Error errorOfAnswer(int status, const std::string& body);

/// Whether the service says that it has no such operation, for good or for a moment.
[[nodiscard]] bool isWithoutHandler(const Error& error);

/// Where a person signs in, as the body of a refusal says; empty when it does not.
[[nodiscard]] std::string signInURLOf(const std::string& body);

/// For an answer whose form is not what it should be: "the answer has no list of zones".
[[nodiscard]] Error oddAnswer(const std::string& what);

}  // namespace quendokit::web
