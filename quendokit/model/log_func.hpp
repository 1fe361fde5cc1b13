#pragma once
/// \file
/// `LogFunc`, the host's hook for the lines that synchronisation logs.

#include <functional>
#include <memory>
#include <string>

#include "quendokit/platform/export.hpp"

namespace quendokit {

/// Makes the text of a message. Called only by who wants to read it: a text may be costly to make.
using LogMessage = std::function<std::string()>;

/// What a host installs. Called on any thread, from several at once too.
using LogHook = std::function<void(const LogMessage&)>;

/// The hook of this process, shared with the caller; null when there is none, as at first. Any thread.
[[nodiscard]] QUENDOKIT_EXPORT std::shared_ptr<const LogHook> LogFunc();

/// Sets the hook for later messages; an empty one takes it away. Hosts set it before they use the engine on other
/// threads. Any thread.
QUENDOKIT_EXPORT void setLogFunc(LogHook hook);

}  // namespace quendokit
