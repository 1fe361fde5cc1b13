#pragma once
/// \file
/// `CKServerChangeToken`, up to where the changes of a zone are known, and how it is kept.

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// A position in the changes of a zone, which only the server can read. Plain value.
class CKServerChangeToken {
public:
    explicit CKServerChangeToken(std::vector<std::byte> data) : data_(std::move(data)) {}

    /// The server's own bytes.
    [[nodiscard]] const std::vector<std::byte>& data() const noexcept { return data_; }

    friend bool operator==(const CKServerChangeToken&, const CKServerChangeToken&) = default;

private:
    std::vector<std::byte> data_;
};

/// Makes bytes of a token, to be kept in settings. Stored format: "CKServerChangeToken", a zero byte, the token's data.
struct QUENDOKIT_EXPORT NSKeyedArchiver {
    [[nodiscard]] static std::vector<std::byte> archivedData(const CKServerChangeToken& token);
};

/// Reads such bytes. Absent when they hold no token.
struct QUENDOKIT_EXPORT NSKeyedUnarchiver {
    [[nodiscard]] static std::optional<CKServerChangeToken> unarchiveObject(const std::vector<std::byte>& data);
};

}  // namespace quendokit
