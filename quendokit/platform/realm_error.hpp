#pragma once
/// \file
/// The errors of object databases.

#include <string_view>

#include "quendokit/platform/error.hpp"

namespace quendokit {

/// `Error::code` of errors whose domain is `realmErrorDomain`.
enum class RealmErrorCode {
    /// Input or output failed, or the database's folder cannot be used.
    unavailable = 1,
    /// The file is no database of this kind, or parts of it are destroyed.
    damaged,
    /// A newer version of the schema wrote the file.
    newerVersion,
    /// Somebody else holds the database for longer than this one waits.
    locked,
    /// No room is left on the disk.
    full,
    /// The file or its folder may not be written, or not be read.
    notPermitted,
    /// A value that cannot be stored, such as a date that is not finite.
    invalidValue,
    /// A write began inside a write or a read.
    nested,
};

inline constexpr std::string_view realmErrorDomain = "Realm";

[[nodiscard]] inline Error makeRealmError(RealmErrorCode code, std::string description) {
    return {std::string(realmErrorDomain), static_cast<int>(code), std::move(description)};
}

[[nodiscard]] inline bool isRealmError(const Error& error, RealmErrorCode code) {
    return error.domain == realmErrorDomain && error.code == static_cast<int>(code);
}

}  // namespace quendokit
