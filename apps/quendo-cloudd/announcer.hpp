#pragma once
/// \file
/// From changes to the notifications of those who subscribed to them.

#include "apps/quendo-cloudd/call.hpp"
#include "apps/quendo-cloudd/courier.hpp"
#include "apps/quendo-cloudd/courier_tokens.hpp"

namespace cloudd {

/// Puts a notification for each subscription that what `call` changed matches into the queue of each of the user's
/// listeners, but of the client that made the change. A client without a name is known by its device. A failure is
/// answered for the log only: the changes themselves are stored.
[[nodiscard]] std::optional<Error> announce(Call& call, CourierTokens& tokens, Courier& courier);

}  // namespace cloudd
