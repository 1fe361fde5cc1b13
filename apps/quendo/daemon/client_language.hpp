#pragma once
/// \file
/// `ClientLanguage`, the words of the person who asks a daemon.

#include <memory>
#include <vector>

#include "apps/quendo/plan_view.hpp"
#include "quendokit/platform/services.hpp"

namespace quendo {

/// Installs, for its lifetime, the few services that words and days in the environment's language need, and touches no
/// file of the person's. One thread.
class ClientLanguage {
public:
    ClientLanguage();

    /// The names of the presets.
    void translate(PresetsView& view) const;
    /// The titles of the buttons; `plan` is the day plan that they tell of.
    void translate(std::vector<ActionView>& views, const OptionsView& plan) const;

private:
    class Plan;
    explicit ClientLanguage(std::shared_ptr<Plan> plan);

    const std::shared_ptr<Plan> plan_;
    quendokit::platform::ScopedInstall services_;
};

}  // namespace quendo
