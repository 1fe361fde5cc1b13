#pragma once
/// \file
/// `DBusErrorCode`, why something on D-Bus failed.

#include "quendokit/platform/error.hpp"

namespace quendokit {

/// The domain of this adapter's errors.
inline constexpr const char* dbusErrorDomain = "DBus";

/// The codes of that domain.
enum class DBusErrorCode {
    /// There is no bus, or it takes no connection.
    noBus = 1,
    /// The connection that there was has broken; there will be no other one.
    disconnected = 2,
    /// Nobody provides the service, and it cannot be started.
    noService = 3,
    /// The other side did not answer in time, or ended without an answer.
    noAnswer = 4,
    /// The other side refused, or answered what cannot be understood.
    refused = 5,
    /// The caller asked for what cannot be.
    invalidArgument = 6,
};

/// Whether `error` is that one. Any thread.
[[nodiscard]] inline bool isDBusError(const Error& error, DBusErrorCode code) {
    return error.domain == dbusErrorDomain && error.code == static_cast<int>(code);
}

}  // namespace quendokit
