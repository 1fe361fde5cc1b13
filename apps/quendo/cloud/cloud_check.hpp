#pragma once
/// \file
/// Whether an account of the cloud can be used.

#include <chrono>
#include <memory>
#include <optional>
#include <string_view>

#include "adapters/cloudkit_web/web_session.hpp"
#include "apps/quendo/failure.hpp"

namespace quendokit {
class EventLoop;
}

namespace quendo {

/// Where the reminders lie in the cloud.
inline constexpr std::string_view reminderZoneName = "Reminder Zone";

/// Asks the cloud a small question, which changes nothing there, and waits for the answer. Absent: the account is good.
/// What the server gives in the token's place goes to `tokens`. With a
/// loop, which is the calling thread's, that runs meanwhile.
[[nodiscard]] std::optional<Failure> checkCloud(const quendokit::WebAccount& account,
                                                const std::shared_ptr<quendokit::WebTokenStore>& tokens,
                                                std::chrono::seconds patience,
                                                const std::shared_ptr<quendokit::EventLoop>& loop = nullptr);

}  // namespace quendo
