#include "apps/quendo/arguments.hpp"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>

#include "apps/quendo/escaped_text.hpp"

namespace quendo {
namespace {

constexpr const char* whenForms =
    "2026-11-21, \"2026-11-21 18:00\", 18:00, +20m, +1h30m, +2d or @SECONDS since 1970; a moment still to come";

/// The commands and where their words go. Lives as long as the parser that writes into it.
struct Commands {
    AddArguments add;
    ListArguments list;
    ShowArguments show;
    DeleteArguments delete_;
    PresetsArguments presets;
    OptionsArguments options;

    CLI::App* addCommand = nullptr;
    CLI::App* listCommand = nullptr;
    CLI::App* showCommand = nullptr;
    CLI::App* deleteCommand = nullptr;
    CLI::App* presetsCommand = nullptr;
    CLI::App* actionsCommand = nullptr;
    CLI::App* optionsCommand = nullptr;
    CLI::App* getCommand = nullptr;
    CLI::App* setCommand = nullptr;
    CLI::App* resetCommand = nullptr;
    CLI::App* versionCommand = nullptr;
    CLI::App* doctorCommand = nullptr;
};

/// CLI11 takes an empty answer for a yes.
std::string isCount(const std::string& text) {
    const bool digits = !text.empty() && text.size() <= 18 && text.find_first_not_of("0123456789") == std::string::npos;
    return digits ? "" : "\"" + text + "\" is no count";
}

void describe(CLI::App& app, Commands& commands) {
    commands.addCommand = app.add_subcommand("add", "store a reminder");
    commands.addCommand->add_option("TITLE", commands.add.title, "what to be reminded of")->required();
    commands.addCommand->add_option("--at", commands.add.at, whenForms)->type_name("WHEN");
    commands.addCommand
        ->add_option("--preset", commands.add.preset,
                     "a named time by its number or English name, as tomorrow-morning; see quendo presets; later when "
                     "nothing else is given")
        ->type_name("PRESET");
    commands.addCommand->add_flag("--mac", commands.add.mac, "at the next arrival at the Mac");

    commands.listCommand = app.add_subcommand("list", "list the reminders");
    commands.listCommand->add_flag("--mac", commands.list.mac, "those that wait at the Mac");
    commands.listCommand->add_flag("--upcoming", commands.list.upcoming, "those to come");
    commands.listCommand->add_flag("--passed", commands.list.passed, "those passed or seen");
    commands.listCommand->add_flag("--deleted", commands.list.deleted, "also those whose deletion is not sent yet");
    commands.listCommand->add_option("--limit", commands.list.limit, "at most so many")->type_name("N")->check(isCount);

    commands.showCommand = app.add_subcommand("show", "show one reminder");
    commands.showCommand->add_option("ID", commands.show.id, "its identifier, or how it begins")->required();

    commands.deleteCommand = app.add_subcommand("delete", "delete reminders");
    commands.deleteCommand->add_option("ID", commands.delete_.ids, "their identifiers, or how they begin")->required();

    commands.presetsCommand = app.add_subcommand("presets", "say what each preset would give");
    commands.presetsCommand->add_option("--for", commands.presets.from, "reckon from any moment instead of now")
        ->type_name("WHEN");

    commands.actionsCommand = app.add_subcommand("actions", "say which buttons a notification may have");

    commands.optionsCommand = app.add_subcommand("options", "show or change the day plan");
    commands.optionsCommand->require_subcommand(0, 1);
    commands.getCommand = commands.optionsCommand->add_subcommand("get", "show one setting");
    commands.getCommand->add_option("KEY", commands.options.key, "its name, as first-workday")->required();
    commands.setCommand = commands.optionsCommand->add_subcommand("set", "change one setting");
    commands.setCommand->add_option("KEY", commands.options.key, "its name, as first-workday")->required();
    commands.setCommand
        ->add_option("VALUE", commands.options.value,
                     "a day or 1 to 7; a time as 09:30; a duration as 3h or 20m; true, false or none")
        ->required();
    commands.resetCommand =
        commands.optionsCommand->add_subcommand("reset", "go back to the day plan that everyone begins with");

    commands.versionCommand = app.add_subcommand("version", "say which version this is");
    commands.doctorCommand = app.add_subcommand("doctor", "check files, permissions, schema, settings and time zone");
}

/// `--home` takes the word behind it, whatever it is: a forgotten folder costs the command its name, and would make a
/// folder of that name.
std::optional<Failure> refuseHome(const std::optional<std::string>& home, const CLI::App& app) {
    const auto isHome = [&](const CLI::App* command) { return command->get_name() == *home; };
    if (!home || (!home->starts_with('-') && app.get_subcommands(isHome).empty())) {
        return std::nullopt;
    }
    const std::string word = escapedText(*home, 80);
    return Failure{ExitCode::usage, "--home takes \"" + word +
                                        "\" for the folder; name the folder between the two, or write ./" + word +
                                        " for one of that name"};
}

/// CLI11's words as one line of ours.
Failure usageFailure(const CLI::ParseError& error, const CLI::App& app) {
    std::string what = error.what();
    const auto unknown = app.remaining(true);
    if (error.get_name() == "RequiredError" && what.find("subcommand") != std::string::npos) {
        const auto word = std::find_if(unknown.begin(), unknown.end(),
                                       [](const std::string& each) { return !each.starts_with('-'); });
        what = word == unknown.end() ? "no command given" : "there is no command \"" + *word + "\"";
    } else if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        what = "\"" + unknown.front() + "\" was not expected";
    } else if (error.get_name() == "ArgumentMismatch") {
        const std::string option = what.substr(0, what.find(':'));
        const bool tooMany = what.find("At Most") != std::string::npos;
        what = option + (tooMany ? " is given more than once" : " needs a value");
    }
    return {ExitCode::usage, escapedText(what, 200) + "; see quendo --help"};
}

}  // namespace

std::variant<Arguments, Help, Failure> parseArguments(std::vector<std::string> arguments) {
    Arguments parsed;
    Commands commands;
    CLI::App app("Reminders at a terminal.", "quendo");
    app.add_option("--home", parsed.home, "keep everything in this folder")->type_name("DIR");
    app.add_flag("--json", parsed.json, "answer with one JSON document");
    app.add_flag("--quiet", parsed.quiet, "print errors only");
    app.require_subcommand(1);
    app.fallthrough();
    describe(app, commands);
    // CLI11 takes the words from the back.
    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::CallForHelp&) {
        return Help{app.help()};
    } catch (const CLI::ParseError& error) {
        auto failure = refuseHome(parsed.home, app);
        return failure ? *std::move(failure) : usageFailure(error, app);
    }
    if (auto failure = refuseHome(parsed.home, app)) {
        return *std::move(failure);
    }
    if (commands.addCommand->parsed()) {
        parsed.command = std::move(commands.add);
    } else if (commands.listCommand->parsed()) {
        parsed.command = commands.list;
    } else if (commands.showCommand->parsed()) {
        parsed.command = std::move(commands.show);
    } else if (commands.deleteCommand->parsed()) {
        parsed.command = std::move(commands.delete_);
    } else if (commands.presetsCommand->parsed()) {
        parsed.command = std::move(commands.presets);
    } else if (commands.actionsCommand->parsed()) {
        parsed.command = ActionsArguments();
    } else if (commands.optionsCommand->parsed()) {
        using Verb = OptionsArguments::Verb;
        commands.options.verb = commands.getCommand->parsed()     ? Verb::get
                                : commands.setCommand->parsed()   ? Verb::set
                                : commands.resetCommand->parsed() ? Verb::reset
                                                                  : Verb::show;
        parsed.command = std::move(commands.options);
    } else if (commands.versionCommand->parsed()) {
        parsed.command = VersionArguments();
    } else {
        parsed.command = DoctorArguments();
    }
    return parsed;
}

}  // namespace quendo
