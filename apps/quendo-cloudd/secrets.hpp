#pragma once
/// \file
/// Random tokens, the key under which they are hashed, and the key's file.

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "quendokit/platform/error.hpp"

namespace cloudd {

/// `bytes` random bytes as lower-case hexadecimal digits. Any thread.
[[nodiscard]] std::string randomHex(std::size_t bytes);

/// A random UUID (version 4) in lower case. Any thread.
[[nodiscard]] std::string randomUuid();

/// Compares in a time that depends on the lengths alone. Any thread.
[[nodiscard]] bool isSameSecret(std::string_view left, std::string_view right);

/// The server's own secret. What the server stores of a token is its hash under this key, from which nobody gets the
/// token back. Any thread.
class TokenKey {
public:
    /// Reads the key of the data folder, or makes it when there is none. Refuses a file that others may read.
    [[nodiscard]] static quendokit::Result<TokenKey> load(const std::filesystem::path& file);

    /// `bytes` is the key itself, 32 bytes.
    explicit TokenKey(std::string bytes) : bytes_(std::move(bytes)) {}

    /// 64 hexadecimal digits.
    [[nodiscard]] std::string hash(std::string_view token) const { return digest("hash:", token); }

    /// The token that follows `token`: always the same one, so that answers that got lost or overtook each other sign
    /// nobody out, and yet not to be told from what is stored.
    [[nodiscard]] std::string successor(std::string_view token) const { return digest("next:", token); }

private:
    [[nodiscard]] std::string digest(std::string_view purpose, std::string_view text) const;

    std::string bytes_;
};

}  // namespace cloudd
