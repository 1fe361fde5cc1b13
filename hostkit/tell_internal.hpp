#pragma once
/// \file
/// Tells a host of something.

#include <utility>

namespace quendokit {

/// Calls `event`, if there is one: a copy, because it may set other events or end who tells.
template <typename Event, typename... Arguments>
void tell(Event event, const Arguments&... arguments) {
    if (event) {
        std::exchange(event, nullptr)(arguments...);
    }
}

}  // namespace quendokit
