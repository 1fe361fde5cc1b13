#pragma once
/// \file
/// What the daemon tells whoever started it.

namespace quendo {

/// Tells the service manager that commands are answered and reminders ring from now on. Nothing happens when none waits
/// to hear it.
void tellReady();
/// The same for the end.
void tellStopping();

}  // namespace quendo
