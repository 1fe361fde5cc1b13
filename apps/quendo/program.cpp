#include "apps/quendo/program.hpp"

#include <cstdio>
#include <optional>
#include <utility>

#include "adapters/cctz/local_time_zone.hpp"
#include "adapters/event_loop/system_clock.hpp"
#include "apps/quendo/arguments.hpp"
#include "apps/quendo/doctor.hpp"
#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/option_assignment.hpp"
#include "apps/quendo/preset_name.hpp"
#include "apps/quendo/render_json.hpp"
#include "apps/quendo/render_text.hpp"
#include "apps/quendo/session.hpp"
#include "apps/quendo/standard_output.hpp"
#include "apps/quendo/when.hpp"

namespace quendo {
namespace {

using quendokit::Date;
using quendokit::LocalTimeKind;
using quendokit::LocalTimeZone;
using quendokit::ReminderCondition;
using quendokit::ReminderList;

void warn(const std::string& line) {
    std::fprintf(stderr, "quendo: %s\n", line.c_str());
}

/// What a command prints, and the exit code that goes with it.
struct Answer {
    std::string text;
    ExitCode code = ExitCode::done;
};

std::optional<Failure> refuseTitle(const std::string& title) {
    if (title.find_first_not_of(" \t\r\n") == std::string::npos) {
        return Failure{ExitCode::usage, "the title is empty; say what to be reminded of"};
    }
    if (!isPlainText(title)) {
        return Failure{ExitCode::usage, "the title is not UTF-8 text; check the terminal's encoding"};
    }
    return std::nullopt;
}

/// Says, unless `quiet`, that the clocks skip the time that was written.
void tellIfSkipped(const std::string& text, const When& when, const LocalTimeZone& zone, bool quiet) {
    if (when.kind == LocalTimeKind::skipped && !quiet) {
        warn("the clocks skip \"" + escapedText(text, 80) + "\"; taken is the first moment after it, " +
             whenText(when.date, zone));
    }
}

/// The moment that WHEN means, if a reminder can be for it. Warns, unless `quiet`, when the clocks skip it.
Outcome<Date> momentOf(const std::string& text, const LocalTimeZone& zone, bool quiet) {
    const Date now = quendokit::SystemClock().now();
    auto when = parseWhen(text, now, zone);
    if (!when) {
        return Failure{ExitCode::usage, when.error().description};
    }
    const Date date = when.value().date;
    if (date <= now || date <= quendokit::ReminderDefaults::NoDate) {
        return Failure{ExitCode::usage, "\"" + escapedText(text, 80) + "\" is not to come: it was " +
                                            whenText(date, zone) + "; give a moment after now"};
    }
    tellIfSkipped(text, when.value(), zone, quiet);
    return date;
}

/// One command after the other, each with the folders and the zone that all share.
class Program {
public:
    Program(Folders folders, bool json, bool quiet) : folders_(std::move(folders)), json_(json), quiet_(quiet) {}

    Outcome<Answer> operator()(const AddArguments& arguments) {
        if (auto failure = refuseTitle(arguments.title)) {
            return *std::move(failure);
        }
        if (static_cast<int>(arguments.at.has_value()) + static_cast<int>(arguments.preset.has_value()) +
                static_cast<int>(arguments.mac) >
            1) {
            return Failure{ExitCode::usage, "--at, --preset and --mac exclude each other; give one of them"};
        }
        if (!arguments.at && !arguments.mac) {
            auto preset = parsePreset(arguments.preset.value_or("later"));
            if (!preset) {
                return preset.failure();
            }
            return add([&](Session& session) { return session.add(arguments.title, preset.value()); });
        }
        auto condition = ReminderCondition::device(quendokit::DeviceType::mac);
        if (arguments.at) {
            auto moment = momentOf(*arguments.at, *zone_, quiet_);
            if (!moment) {
                return moment.failure();
            }
            condition = ReminderCondition::dateTime(moment.value());
        }
        return add([&](Session& session) { return session.add(arguments.title, condition); });
    }

    Outcome<Answer> operator()(const ListArguments& arguments) {
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
        return withSession([&](Session& session) -> Outcome<Answer> {
            auto views = session.list(request);
            if (!views) {
                return views.failure();
            }
            return Answer{json_ ? json::reminders(views.value(), *zone_) : plain::reminders(views.value(), *zone_)};
        });
    }

    Outcome<Answer> operator()(const ShowArguments& arguments) {
        return withSession([&](Session& session) -> Outcome<Answer> {
            auto view = session.show(arguments.id);
            if (!view) {
                return view.failure();
            }
            return Answer{json_ ? json::reminder(view.value(), *zone_) : plain::reminder(view.value(), *zone_)};
        });
    }

    Outcome<Answer> operator()(const DeleteArguments& arguments) {
        return withSession([&](Session& session) -> Outcome<Answer> {
            auto views = session.delete_(arguments.ids);
            if (!views) {
                return views.failure();
            }
            return Answer{json_ ? json::identifiers(views.value()) : plain::deleted(views.value())};
        });
    }

    Outcome<Answer> operator()(const PresetsArguments& arguments) {
        std::optional<Date> from;
        if (arguments.from) {
            auto when = parseWhen(*arguments.from, quendokit::SystemClock().now(), *zone_);
            if (!when) {
                return Failure{ExitCode::usage, when.error().description};
            }
            tellIfSkipped(*arguments.from, when.value(), *zone_, quiet_);
            from = when.value().date;
        }
        return withSession([&](Session& session) -> Outcome<Answer> {
            const PresetsView view = session.presets(from);
            if (!view.category && !quiet_) {
                warn(
                    "two of morning, afternoon and evening begin at the same time, so notifications have no category; "
                    "change one with quendo options set");
            }
            return Answer{json_ ? json::presets(view, *zone_) : plain::presets(view, *zone_)};
        });
    }

    Outcome<Answer> operator()(const ActionsArguments&) {
        return withSession([&](Session& session) -> Outcome<Answer> {
            return Answer{json_ ? json::actions(session.actions()) : plain::actions(session.actions())};
        });
    }

    Outcome<Answer> operator()(const OptionsArguments& arguments) {
        using Verb = OptionsArguments::Verb;
        std::optional<OptionKey> key;
        if (arguments.verb == Verb::get || arguments.verb == Verb::set) {
            auto known = parseOptionKey(arguments.key);
            if (!known) {
                return known.failure();
            }
            key = known.value();
        }
        return withSession(Settings::needed, [&](Session& session) -> Outcome<Answer> {
            auto view = Outcome<OptionsView>(session.options());
            if (arguments.verb == Verb::set) {
                auto assignment = parseOptionValue(*key, arguments.value);
                if (!assignment) {
                    return assignment.failure();
                }
                view = session.set(assignment.value());
            } else if (arguments.verb == Verb::reset) {
                view = session.resetOptions();
            }
            if (!view) {
                return view.failure();
            }
            if (json_) {
                return Answer{json::options(view.value())};
            }
            return Answer{arguments.verb == Verb::get ? plain::option(*key, view.value())
                                                      : plain::options(view.value())};
        });
    }

    Outcome<Answer> operator()(const VersionArguments&) const {
        return Answer{json_ ? json::version() : plain::version()};
    }

    Outcome<Answer> operator()(const DoctorArguments&) {
        const Diagnosis diagnosis = examine(folders_);
        return Answer{json_ ? json::findings(diagnosis.findings) : plain::findings(diagnosis.findings), diagnosis.code};
    }

private:
    template <typename Store>
    Outcome<Answer> add(Store store) {
        return withSession([&](Session& session) -> Outcome<Answer> {
            Outcome<ReminderView> view = store(session);
            if (!view) {
                return view.failure();
            }
            return Answer{json_ ? json::reminder(view.value(), *zone_) : plain::stored(view.value(), *zone_)};
        });
    }

    /// What a command does when the settings cannot be read.
    enum class Settings {
        /// Goes on by everyone's day plan, and says so.
        helpful,
        /// Fails.
        needed,
    };

    template <typename Work>
    Outcome<Answer> withSession(Work work) {
        return withSession(Settings::helpful, work);
    }

    template <typename Work>
    Outcome<Answer> withSession(Settings settings, Work work) {
        auto opened = Session::open(folders_, [this](const std::string& line) { warnUnlessQuiet(line); });
        if (!opened) {
            return opened.failure();
        }
        Session& session = *opened.value();
        if (const auto& failure = session.settingsFailure()) {
            if (settings == Settings::needed) {
                return *failure;
            }
            warnUnlessQuiet(failure->line);
        }
        return work(session);
    }

    void warnUnlessQuiet(const std::string& line) const {
        if (!quiet_) {
            warn(escapedText(line));
        }
    }

    const Folders folders_;
    const bool json_;
    const bool quiet_;
    const std::shared_ptr<const LocalTimeZone> zone_ = LocalTimeZone::current();
};

int fail(const Failure& failure) {
    warn(escapedText(failure.line));
    return static_cast<int>(failure.code);
}

int answer(const Answer& result) {
    if (auto failure = writeStandardOutput(result.text + "\n")) {
        return fail(*failure);
    }
    return static_cast<int>(result.code);
}

}  // namespace

int run(std::vector<std::string> arguments) {
    const auto parsed = parseArguments(std::move(arguments));
    if (const auto* failure = std::get_if<Failure>(&parsed)) {
        return fail(*failure);
    }
    if (const auto* help = std::get_if<Help>(&parsed)) {
        const std::string& text = help->text;
        return answer({text.substr(0, text.find_last_not_of('\n') + 1)});
    }
    const auto& known = std::get<Arguments>(parsed);
    const bool needsFolders = !std::holds_alternative<VersionArguments>(known.command);
    auto folders = needsFolders ? findFolders(known.home) : Folders();
    if (!folders) {
        return fail(folders.failure());
    }
    auto result = std::visit(Program(std::move(folders).value(), known.json, known.quiet), known.command);
    if (!result) {
        return fail(result.failure());
    }
    return known.quiet ? static_cast<int>(result.value().code) : answer(result.value());
}

}  // namespace quendo
