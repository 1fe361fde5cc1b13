/// \file
/// Presets, buttons and settings.

#include <utility>

#include "apps/quendo/option_change.hpp"
#include "apps/quendo/session_internal.hpp"
#include "quendokit/options/options.hpp"

namespace quendo {

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
    assign(request.assignment);
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    return viewOptions();
}

Outcome<OptionsView> Session::perform(const ResetOptionsRequest&) {
    quendokit::Options::reset();
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    return viewOptions();
}

}  // namespace quendo
