#pragma once
/// \file
/// URLs: parts of them, and what of them may be shown.

#include <string>
#include <string_view>

namespace quendokit::web {

/// Each byte but letters, digits, "-", ".", "_" and "~" as "%2B".
[[nodiscard]] std::string percentEncoded(std::string_view text);

/// "https", in lower case; empty when `url` does not begin so.
[[nodiscard]] std::string schemeOf(std::string_view url);

/// The host and its port, as "api.example.org:8080"; without a name and password in front of them. Empty when there is
/// none. This is all of a URL that is ever shown.
[[nodiscard]] std::string hostOf(std::string_view url);

/// Whether that host is this machine: "localhost", "127.0.0.1" or "[::1]", with any port.
[[nodiscard]] bool isLoopback(std::string_view host);

}  // namespace quendokit::web
