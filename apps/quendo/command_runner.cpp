#include "apps/quendo/command_runner.hpp"

#include <cstdio>

#include "adapters/event_loop/system_clock.hpp"
#include "apps/quendo/daemon/daemon.hpp"
#include "apps/quendo/doctor.hpp"
#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/option_assignment.hpp"
#include "apps/quendo/preset_name.hpp"
#include "apps/quendo/render_json.hpp"
#include "apps/quendo/render_text.hpp"
#include "apps/quendo/when.hpp"

namespace quendo {
namespace {

using quendokit::Date;
using quendokit::ReminderCondition;

Outcome<quendokit::NotificationAction> parseAction(const std::string& word) {
    using quendokit::NotificationAction;
    for (const NotificationAction action :
         {NotificationAction::Short, NotificationAction::Later, NotificationAction::Morning,
          NotificationAction::Afternoon, NotificationAction::Evening}) {
        if (action.rawValue() == "quendo.postpone.action." + word) {
            return action;
        }
    }
    return Failure{ExitCode::usage, "there is no action \"" + escapedText(word, 80) +
                                        "\"; give short, later, morning, afternoon or evening"};
}

}  // namespace

Outcome<Output> CommandRunner::operator()(const PresetsArguments& arguments) {
    PresetsRequest request;
    if (arguments.from) {
        auto from = dateOf(*arguments.from);
        if (!from) {
            return from.failure();
        }
        request.from = from.value();
    }
    return ask(request, [&](const PresetsView& view) {
        if (!view.category) {
            warn(
                "two of morning, afternoon and evening begin at the same time, so notifications have no category; "
                "change one with quendo options set");
        }
        return json_ ? json::presets(view, *zone_) : plain::presets(view, *zone_);
    });
}

Outcome<Output> CommandRunner::operator()(const ActionsArguments&) {
    return ask(ActionsRequest(), [&](const std::vector<ActionView>& views) {
        return json_ ? json::actions(views) : plain::actions(views);
    });
}

Outcome<Output> CommandRunner::operator()(const OptionsArguments& arguments) {
    using Verb = OptionsArguments::Verb;
    const auto render = [&](const OptionsView& view) { return json_ ? json::options(view) : plain::options(view); };
    if (arguments.verb == Verb::show) {
        return ask(OptionsRequest(), render);
    }
    if (arguments.verb == Verb::reset) {
        return ask(ResetOptionsRequest(), render);
    }
    auto key = parseOptionKey(arguments.key);
    if (!key) {
        return key.failure();
    }
    if (arguments.verb == Verb::get) {
        return ask(OptionsRequest(), [&](const OptionsView& view) {
            return json_ ? json::options(view) : plain::option(key.value(), view);
        });
    }
    // Days are read in the person's language, which the executor has at hand.
    auto executor = openExecutor();
    if (!executor) {
        return executor.failure();
    }
    // What cannot be read is told before what cannot be meant.
    if (auto before = quendo::ask(*executor.value(), OptionsRequest()); !before) {
        return before.failure();
    }
    auto assignment = parseOptionValue(key.value(), arguments.value);
    if (!assignment) {
        return assignment.failure();
    }
    auto view = quendo::ask(*executor.value(), SetOptionRequest{std::move(assignment).value()});
    if (!view) {
        return view.failure();
    }
    return Output{render(view.value())};
}

Outcome<Output> CommandRunner::operator()(const VersionArguments&) const {
    return Output{json_ ? json::version() : plain::version()};
}

Outcome<Output> CommandRunner::operator()(const DoctorArguments&) const {
    const Diagnosis diagnosis = examine(folders_);
    return Output{json_ ? json::findings(diagnosis.findings) : plain::findings(diagnosis.findings), diagnosis.code};
}

Outcome<Output> CommandRunner::operator()(const DaemonArguments& arguments) const {
    if (auto failure = runDaemon(folders_, {arguments.poll})) {
        return *std::move(failure);
    }
    // Its lines are all it says.
    return Output{"", ExitCode::done};
}

Outcome<std::unique_ptr<Executor>> CommandRunner::openExecutor() const {
    return findExecutor(folders_, [this](const std::string& line) { warn(escapedText(line)); });
}

Outcome<std::optional<Choice>> CommandRunner::choiceOf(const ChoiceArguments& arguments) const {
    const int given = static_cast<int>(arguments.at.has_value()) + static_cast<int>(arguments.preset.has_value()) +
                      static_cast<int>(arguments.action.has_value()) + static_cast<int>(arguments.mac);
    if (given > 1) {
        return Failure{ExitCode::usage, std::string(arguments.action ? "--action, " : "") +
                                            "--at, --preset and --mac exclude each other; give one of them"};
    }
    if (arguments.mac) {
        return std::optional<Choice>(ReminderCondition::device(quendokit::DeviceType::mac));
    }
    if (arguments.preset) {
        auto preset = parsePreset(*arguments.preset);
        return preset ? Outcome<std::optional<Choice>>(Choice(PresetChoice{preset.value()})) : preset.failure();
    }
    if (arguments.action) {
        auto action = parseAction(*arguments.action);
        return action ? Outcome<std::optional<Choice>>(Choice(action.value())) : action.failure();
    }
    if (!arguments.at) {
        return std::optional<Choice>();
    }
    const Date now = quendokit::SystemClock().now();
    auto date = dateOf(*arguments.at);
    if (!date) {
        return date.failure();
    }
    if (date.value() <= now || date.value() <= quendokit::ReminderDefaults::NoDate) {
        return Failure{ExitCode::usage, "\"" + escapedText(*arguments.at, 80) + "\" is not to come: it was " +
                                            whenText(date.value(), *zone_) + "; give a moment after now"};
    }
    return std::optional<Choice>(ReminderCondition::dateTime(date.value()));
}

Outcome<Date> CommandRunner::dateOf(const std::string& when) const {
    auto parsed = parseWhen(when, quendokit::SystemClock().now(), *zone_);
    if (!parsed) {
        return Failure{ExitCode::usage, parsed.error().description};
    }
    if (parsed.value().kind == quendokit::LocalTimeKind::skipped) {
        warn("the clocks skip \"" + escapedText(when, 80) + "\"; taken is the first moment after it, " +
             whenText(parsed.value().date, *zone_));
    }
    return parsed.value().date;
}

void CommandRunner::warn(const std::string& line) const {
    if (!quiet_) {
        std::fprintf(stderr, "quendo: %s\n", line.c_str());
    }
}

}  // namespace quendo
