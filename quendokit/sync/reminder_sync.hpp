#pragma once
/// \file
/// `ReminderSync`, what a host hears of synchronisation.

#include <string_view>

namespace quendokit {

struct ReminderSync {
    /// Names of notifications on the default centre, without user info. Posted on any thread, before what a pass
    /// brought is in the database.
    struct Notification {
        /// An upload ended without an error, or there was nothing to upload.
        static constexpr std::string_view DidFinishLocalSync = "quendokit.reminders.did-finish-local-sync";
        /// A download ended, with or without an error, and no further page is coming.
        static constexpr std::string_view DidFinishRemoteSync = "quendokit.reminders.did-finish-remote-sync";
    };
};

}  // namespace quendokit
