#pragma once
/// \file
/// Requests and answers as bytes, for two processes of the same version on one machine.

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "apps/quendo/failure.hpp"
#include "apps/quendo/request.hpp"

namespace quendo {

/// What a request led to.
struct RequestAnswer {
    /// Lines for the person who asked, in the order in which they came up.
    std::vector<std::string> warnings;
    std::variant<Failure, Response> result;
};

/// The fields one after the other, without names: numbers in eight bytes, the lowest first; texts and lists behind
/// their length; what may be absent behind a 0 or 1.
[[nodiscard]] std::string encode(const Request& request);
[[nodiscard]] std::string encode(const RequestAnswer& answer);

/// Absent unless `bytes` are one whole request, and one that a session can be asked: moments that a calendar knows,
/// presets that there are, values of the kind that their setting has. Takes no more memory than some ten times the size
/// of `bytes`.
[[nodiscard]] std::optional<Request> decodeRequest(std::string_view bytes);

/// Absent unless `bytes` are one whole answer.
[[nodiscard]] std::optional<RequestAnswer> decodeAnswer(std::string_view bytes);

}  // namespace quendo
