#include <algorithm>
#include <array>
#include <cstddef>

#include "adapters/cloudkit_web/url_internal.hpp"

namespace quendokit::web {
namespace {

constexpr std::string_view schemeEnd = "://";

bool isUnreserved(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

}  // namespace

std::string percentEncoded(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : text) {
        if (isUnreserved(c)) {
            encoded += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        encoded += '%';
        encoded += digits[byte >> 4U];
        encoded += digits[byte & 0xFU];
    }
    return encoded;
}

std::string schemeOf(std::string_view url) {
    const std::size_t end = url.find(schemeEnd);
    std::string scheme(end == std::string_view::npos ? std::string_view() : url.substr(0, end));
    std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return scheme;
}

std::string hostOf(std::string_view url) {
    const std::size_t scheme = url.find(schemeEnd);
    if (scheme == std::string_view::npos) {
        return {};
    }
    const std::string_view rest = url.substr(scheme + schemeEnd.size());
    const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
    // find_last_of answers npos, one less than zero, when there is none.
    const std::string host(authority.substr(authority.find_last_of('@') + 1));
    const bool isPlain = std::all_of(host.begin(), host.end(),
                                     [](char c) { return isUnreserved(c) || c == ':' || c == '[' || c == ']'; });
    return isPlain ? host : std::string();
}

bool isLoopback(std::string_view host) {
    constexpr std::array<std::string_view, 3> names = {"localhost", "127.0.0.1", "[::1]"};
    return std::any_of(names.begin(), names.end(), [&](std::string_view name) {
        return host == name || (host.starts_with(name) && host.size() > name.size() && host[name.size()] == ':');
    });
}

}  // namespace quendokit::web
