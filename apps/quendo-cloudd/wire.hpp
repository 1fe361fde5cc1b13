#pragma once
/// \file
/// A request and its answer as values, and the errors of the protocol.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "quendokit/platform/error.hpp"

namespace cloudd {

struct Request {
    std::string method;
    /// The target as it stands in the request line, undecoded.
    std::string target;
    std::string body;
    /// Whom limits per address count it for.
    std::string address;
    /// How the client reaches this server, as "https://cloud.example:8420".
    std::string origin;
};

struct Answer {
    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};

/// The codes of the protocol; each has a name and a status.
enum class ErrorCode {
    accessDenied,
    atomicError,
    authenticationFailed,
    authenticationRequired,
    badRequest,
    conflict,
    exists,
    internalError,
    notFound,
    quotaExceeded,
    throttled,
    tryAgainLater,
    zoneNotFound,
};

/// Why a request or one item of it was refused. `reason` never quotes a token.
struct WireError {
    ErrorCode code;
    std::string reason;
    /// Seconds.
    std::optional<double> retryAfter = {};
    std::string redirectURL = {};
    /// For the server's log; the client does not get it.
    std::string detail = {};
};

[[nodiscard]] int statusOf(ErrorCode code);

/// The error with a fresh uuid.
[[nodiscard]] nlohmann::json toJson(const WireError& error);

/// The whole answer of a request that was refused.
[[nodiscard]] Answer refusal(const WireError& error);

/// What a client hears of a failure of the store. The client learns no file names.
[[nodiscard]] WireError wireErrorOf(const quendokit::Error& error);

/// A value, or the error that came instead of it.
template <typename Value>
class [[nodiscard]] Reply {
public:
    Reply(Value value) : state_(std::in_place_index<0>, std::move(value)) {}
    Reply(WireError error) : state_(std::in_place_index<1>, std::move(error)) {}
    Reply(const quendokit::Error& error) : state_(std::in_place_index<1>, wireErrorOf(error)) {}

    explicit operator bool() const noexcept { return state_.index() == 0; }
    [[nodiscard]] Value& value() & { return std::get<0>(state_); }
    [[nodiscard]] Value&& value() && { return std::get<0>(std::move(state_)); }
    [[nodiscard]] const WireError& error() const { return std::get<1>(state_); }

private:
    std::variant<Value, WireError> state_;
};

[[nodiscard]] inline WireError badRequest(std::string reason) {
    return {ErrorCode::badRequest, std::move(reason)};
}

}  // namespace cloudd
