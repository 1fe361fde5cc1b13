/// \file
/// Editing, postponing, seeing.

#include <utility>

#include "apps/quendo/session_internal.hpp"
#include "hostkit/late_postpone.hpp"
#include "hostkit/two_step_changes.hpp"
#include "quendokit/platform/realm.hpp"
#include "quendokit/presets/preset_controller.hpp"

namespace quendo {

using quendokit::Error;
using quendokit::ReminderCondition;
using quendokit::ReminderStruct;

ReminderCondition conditionOf(const Choice& when, std::optional<quendokit::Date> from) {
    const quendokit::PresetController presets;
    const auto given = [&](const quendokit::Preset& preset) {
        return postponedCondition(preset, from, quendokit::platform::clock().now());
    };
    if (const auto* preset = std::get_if<PresetChoice>(&when)) {
        return given(presets.presets().at(preset->index));
    }
    if (const auto* action = std::get_if<quendokit::NotificationAction>(&when)) {
        return given(presets.postpone(*action));
    }
    return std::get<ReminderCondition>(when);
}

Outcome<ReminderView> Session::perform(const EditRequest& request) {
    if (auto failure = openToChange()) {
        return *std::move(failure);
    }
    auto found = find(request.id, false);
    if (!found) {
        return found;
    }
    const ReminderView& before = found.value();
    // Under another condition it was not presented yet.
    const ReminderStruct edited(before.id, request.title.value_or(before.title), !request.when && before.shown,
                                request.when ? conditionOf(*request.when, std::nullopt) : before.condition);
    std::optional<Error> error;
    change({before.id}, [&] { error = twoSteps_->edit(edited); });
    if (auto failure = takeFailure(error)) {
        return *std::move(failure);
    }
    return stored(before.id, edited);
}

Outcome<std::vector<ReminderView>> Session::perform(const PostponeRequest& request) {
    if (auto failure = openToChange()) {
        return *std::move(failure);
    }
    auto chosen = request.ids ? findAll(*request.ids)
                              : perform(ListRequest{{quendokit::ReminderList::remaining}, false, std::nullopt});
    if (!chosen) {
        return chosen;
    }
    if (chosen.value().empty()) {
        return Failure{ExitCode::notDone, "no reminder has passed; see quendo list"};
    }
    std::vector<ReminderView> answer;
    const auto postpone = [&](const ReminderView& view) -> std::optional<Error> {
        const ReminderCondition condition = conditionOf(request.when, view.condition.date());
        const ReminderStruct reminder(view.id, view.title, view.shown, condition);
        if (view.shown && condition.deviceType()) {
            // A shown one would count as passed there and never be presented.
            const ReminderStruct successor(view.title, condition);
            std::optional<Error> error;
            change({view.id}, [&] {
                const auto id = twoSteps_->replace(view.id, successor);
                if (id) {
                    answer.push_back(stored(id.value(), successor));
                } else {
                    error = id.error();
                }
            });
            return error;
        }
        change({view.id}, [&] { controller_->postpone(reminder, condition); });
        answer.push_back(stored(view.id, reminder));
        return std::nullopt;
    };
    if (auto failure = changeEach(chosen.value(), "postponed", postpone)) {
        return *std::move(failure);
    }
    return answer;
}

Outcome<SeenAnswer> Session::perform(const SeenRequest& request) {
    if (auto failure = openToChange()) {
        return *std::move(failure);
    }
    auto chosen =
        request.ids ? findAll(*request.ids) : perform(ListRequest{{quendokit::ReminderList::mac}, false, std::nullopt});
    if (!chosen) {
        return chosen.failure();
    }
    // They were read in this very session, which holds the lock: nothing newer is replaced.
    std::vector<ReminderStruct> unseen;
    std::vector<std::string> ids;
    for (const ReminderView& view : chosen.value()) {
        if (!view.shown) {
            ids.push_back(view.id);
            unseen.emplace_back(view.id, view.title, view.shown, view.condition);
        }
    }
    if (!unseen.empty()) {
        change(std::move(ids), [&] { controller_->markSeen(unseen); });
    }
    if (auto failure = takeFailure()) {
        return *std::move(failure);
    }
    SeenAnswer answer;
    for (const ReminderView& view : chosen.value()) {
        answer.reminders.push_back(stored(view.id, ReminderStruct(view.id, view.title, true, view.condition)));
    }
    return answer;
}

}  // namespace quendo
