#pragma once
/// \file
/// Whether an account of the cloud can be used.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "adapters/cloudkit_web/web_session.hpp"
#include "apps/quendo/failure.hpp"

namespace quendo {

/// Where the reminders lie in the cloud.
inline constexpr std::string_view reminderZoneName = "Reminder Zone";

/// Returns when `isDone` answers true, or `patience` is over.
using CloudWait = std::function<void(const std::function<bool()>& isDone, std::chrono::seconds patience)>;

/// Asks the cloud a small question, which changes nothing there, and waits for the answer. Absent: the account is good.
/// What the server gives in the token's place goes to `tokens`.
[[nodiscard]] std::optional<Failure> checkCloud(const quendokit::WebAccount& account,
                                                const std::shared_ptr<quendokit::WebTokenStore>& tokens,
                                                std::chrono::seconds patience);
/// The same for a thread that goes on with something else meanwhile: it waits by `wait`, and `wakes` is called on
/// another thread when the answer is there.
[[nodiscard]] std::optional<Failure> checkCloud(const quendokit::WebAccount& account,
                                                const std::shared_ptr<quendokit::WebTokenStore>& tokens,
                                                std::chrono::seconds patience, const CloudWait& wait,
                                                std::function<void()> wakes);

}  // namespace quendo
