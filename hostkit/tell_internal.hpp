#pragma once
/// \file
/// Tells a host of something.

namespace quendokit {

/// Calls `event`, if there is one: a copy, because it may set other events or end who tells.
template <typename Event, typename... Arguments>
void tell(const Event event, const Arguments&... arguments) {
    if (event) {
        event(arguments...);
    }
}

}  // namespace quendokit
