/// \file
/// The commands that keep reminders.

#include "apps/quendo/command_runner.hpp"
#include "apps/quendo/render_changes.hpp"
#include "apps/quendo/render_json.hpp"
#include "apps/quendo/render_text.hpp"
#include "apps/quendo/transfer/transfer_rules.hpp"

namespace quendo {
namespace {

using quendokit::ReminderList;

std::optional<Failure> refuseTitle(const std::string& title) {
    const auto problem = problemOfTitle(title);
    return problem ? std::optional(Failure{ExitCode::usage, *problem}) : std::nullopt;
}

}  // namespace

Outcome<Output> CommandRunner::operator()(const AddArguments& arguments) {
    if (auto failure = refuseTitle(arguments.title)) {
        return *std::move(failure);
    }
    auto choice = choiceOf(arguments.when);
    if (!choice) {
        return choice.failure();
    }
    constexpr PresetChoice later{0};
    return ask(AddRequest{arguments.title, choice.value().value_or(later)}, [&](const ReminderView& view) {
        return json_ ? json::reminder(view, *zone_) : plain::stored(view, *zone_);
    });
}

Outcome<Output> CommandRunner::operator()(const ListArguments& arguments) {
    ListRequest request{{}, arguments.deleted, std::nullopt};
    if (arguments.limit) {
        request.limit = static_cast<std::size_t>(*arguments.limit);
    }
    const bool all = !arguments.mac && !arguments.upcoming && !arguments.passed;
    for (const auto& [chosen, list] :
         {std::pair(arguments.mac, ReminderList::mac), std::pair(arguments.upcoming, ReminderList::upcoming),
          std::pair(arguments.passed, ReminderList::remaining)}) {
        if (chosen || all) {
            request.lists.push_back(list);
        }
    }
    return ask(request, [&](const std::vector<ReminderView>& views) {
        return json_ ? json::reminders(views, *zone_) : plain::reminders(views, *zone_);
    });
}

Outcome<Output> CommandRunner::operator()(const ShowArguments& arguments) {
    return ask(ShowRequest{arguments.id}, [&](const ReminderView& view) {
        return json_ ? json::reminder(view, *zone_) : plain::reminder(view, *zone_);
    });
}

Outcome<Output> CommandRunner::operator()(const EditArguments& arguments) {
    if (arguments.title) {
        if (auto failure = refuseTitle(*arguments.title)) {
            return *std::move(failure);
        }
    }
    auto choice = choiceOf(arguments.when);
    if (!choice) {
        return choice.failure();
    }
    if (!arguments.title && !choice.value()) {
        return Failure{ExitCode::usage, "nothing to change; give --title, --at, --preset or --mac"};
    }
    return ask(EditRequest{arguments.id, arguments.title, choice.value()}, [&](const ReminderView& view) {
        return json_ ? json::reminder(view, *zone_) : plain::edited(view, *zone_);
    });
}

Outcome<Output> CommandRunner::operator()(const PostponeArguments& arguments) {
    if (arguments.ids.empty() != arguments.allPassed) {
        return Failure{ExitCode::usage, arguments.allPassed
                                            ? "identifiers and --all-passed exclude each other; give one of them"
                                            : "no reminder is named; give identifiers, or --all-passed"};
    }
    auto choice = choiceOf(arguments.when);
    if (!choice) {
        return choice.failure();
    }
    if (!choice.value()) {
        return Failure{ExitCode::usage, "no new time is given; give --action, --preset, --at or --mac"};
    }
    PostponeRequest request{arguments.ids, *choice.value()};
    if (arguments.allPassed) {
        request.ids.reset();
    }
    return ask(std::move(request), [&](const std::vector<ReminderView>& views) {
        return json_ ? json::reminders(views, *zone_) : plain::postponed(views, *zone_);
    });
}

Outcome<Output> CommandRunner::operator()(const SeenArguments& arguments) {
    SeenRequest request;
    if (!arguments.ids.empty()) {
        request.ids = arguments.ids;
    }
    return ask(std::move(request), [&](const SeenAnswer& answer) {
        return json_ ? json::identifiers(answer.reminders) : plain::seen(answer.reminders);
    });
}

Outcome<Output> CommandRunner::operator()(const DeleteArguments& arguments) {
    return ask(DeleteRequest{arguments.ids}, [&](const std::vector<ReminderView>& views) {
        return json_ ? json::identifiers(views) : plain::deleted(views);
    });
}

Outcome<Output> CommandRunner::operator()(const StatsArguments&) {
    return ask(StatsRequest(),
               [&](const quendokit::ReminderStats& stats) { return json_ ? json::stats(stats) : plain::stats(stats); });
}

Outcome<Output> CommandRunner::operator()(const ClearArguments& arguments) {
    if (!arguments.yes) {
        return Failure{ExitCode::usage, "clear removes every reminder on this device; if that is meant, add --yes"};
    }
    return ask(ClearRequest(), [&](const ClearAnswer& answer) {
        if (!answer.unsentTitles.empty()) {
            warn("changes that no cloud has are lost: " + plain::someTitles(answer.unsentTitles));
        }
        return json_ ? json::count("removed", answer.removed) : plain::cleared(answer.removed);
    });
}

}  // namespace quendo
