#pragma once
/// \file
/// What a session has that belongs to a process that stays.

#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include "adapters/cloudkit_web/courier.hpp"
#include "apps/quendo/session.hpp"

namespace quendo {

struct Session::Stay {
    Stay(StayEvents toTell, bool pollsTheCloud) : events(std::move(toTell)), polls(pollsTheCloud) {}

    const StayEvents events;
    const bool polls;
    std::unique_ptr<quendokit::Courier> courier;
    /// When the day plan was last brought to the cloud and back.
    std::optional<std::chrono::steady_clock::time_point> sharedPlan;
};

}  // namespace quendo
