/// \file
/// Presets, buttons and settings.

#include <utility>

#include "apps/quendo/option_change.hpp"
#include "apps/quendo/session_cloud_internal.hpp"
#include "apps/quendo/session_internal.hpp"
#include "quendokit/options/options.hpp"
#include "quendokit/platform/ubiquitous_key_value_store.hpp"

namespace quendo {
namespace {

/// How long a change of the day plan waits for the cloud.
constexpr std::chrono::seconds patienceForPlan(10);

}  // namespace

Outcome<PresetsView> Session::perform(const PresetsRequest& request) {
    const quendokit::Date now = quendokit::platform::clock().now();
    return viewPresets(now, request.from.value_or(now));
}

Outcome<std::vector<ActionView>> Session::perform(const ActionsRequest&) {
    return viewActions();
}

Outcome<OptionsView> Session::perform(const OptionsRequest&) {
    return viewOptions();
}

Outcome<OptionsView> Session::perform(const SetOptionRequest& request) {
    if (auto failure = refusalOf(request.assignment)) {
        return *std::move(failure);
    }
    return changePlan([&] { assign(request.assignment); });
}

Outcome<OptionsView> Session::perform(const ResetOptionsRequest&) {
    return changePlan(quendokit::Options::reset);
}

Outcome<OptionsView> Session::changePlan(const std::function<void()>& change) {
    const StoredDayPlan before = storedDayPlan();
    change();
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    if (cloud_->account) {
        shareChangesSince(before, quendokit::NSUbiquitousKeyValueStore::defaultStore());
        if (const auto failure = shareDayPlan(std::chrono::steady_clock::now() + patienceForPlan)) {
            warn_("the day plan is changed here and goes to the other devices with the next sync: " + failure->line);
        }
    } else {
        keepUnsentUpToDate(*cloud_->dayPlan->store());
    }
    return viewOptions();
}

}  // namespace quendo
