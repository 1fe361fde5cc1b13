#pragma once
/// \file
/// The file in which a server hands its tokens to a person.

#include <string>

#include "apps/quendo/failure.hpp"

namespace quendo {

struct CloudTokens {
    std::string apiToken;
    std::string webToken;
};

/// Reads a JSON object with "api-token" and "web-token"; `file` "-" is standard input. No token is ever in a failure.
[[nodiscard]] Outcome<CloudTokens> readTokenFile(const std::string& file);

}  // namespace quendo
