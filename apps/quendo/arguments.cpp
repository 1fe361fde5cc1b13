#include "apps/quendo/arguments.hpp"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>

#include "apps/quendo/escaped_text.hpp"

namespace quendo {
namespace {

constexpr const char* whenForms =
    "2026-11-21, \"2026-11-21 18:00\", 18:00, +20m, +1h30m, +2d or @SECONDS since 1970; a moment still to come";

/// Where the commands' words go. Lives as long as the parser that writes into it.
struct Commands {
    AddArguments add;
    ListArguments list;
    ShowArguments show;
    EditArguments edit;
    PostponeArguments postpone;
    SeenArguments seen;
    DeleteArguments delete_;
    ClearArguments clear;
    PresetsArguments presets;
    OptionsArguments options;
    ExportArguments exporting;
    ImportArguments importing;
    CloudArguments cloud;
    SyncArguments sync;
    DaemonArguments daemon;
};

/// CLI11 takes an empty answer for a yes.
std::string isCount(const std::string& text) {
    const bool digits = !text.empty() && text.size() <= 18 && text.find_first_not_of("0123456789") == std::string::npos;
    return digits ? "" : "\"" + text + "\" is no count";
}

/// Adds a command that, when it is the one, becomes `parsed.command` with what was read into `words`.
template <typename Words>
CLI::App* addCommand(CLI::App& app, const char* name, const char* does, Arguments& parsed, Words& words) {
    CLI::App* command = app.add_subcommand(name, does);
    command->callback([&] { parsed.command = std::move(words); });
    return command;
}

/// The same for a command without words of its own.
template <typename Words>
void addCommand(CLI::App& app, const char* name, const char* does, Arguments& parsed) {
    app.add_subcommand(name, does)->callback([&] { parsed.command = Words(); });
}

void addChoice(CLI::App& command, ChoiceArguments& choice, const std::string& presetHelp) {
    command.add_option("--at", choice.at, whenForms)->type_name("WHEN");
    command.add_option("--preset", choice.preset, presetHelp)->type_name("PRESET");
    command.add_flag("--mac", choice.mac, "at the next arrival at the Mac");
}

constexpr const char* oneId = "its identifier, or how it begins";
constexpr const char* severalIds = "their identifiers, or how they begin";

void describeReminders(CLI::App& app, Commands& commands, Arguments& parsed) {
    const std::string presets = "a named time by its number or English name, as tomorrow-morning; see quendo presets";
    auto* add = addCommand(app, "add", "store a reminder", parsed, commands.add);
    add->add_option("TITLE", commands.add.title, "what to be reminded of")->required();
    addChoice(*add, commands.add.when, presets + "; later when nothing else is given");

    auto* list = addCommand(app, "list", "list the reminders", parsed, commands.list);
    list->add_flag("--mac", commands.list.mac, "those that wait at the Mac");
    list->add_flag("--upcoming", commands.list.upcoming, "those to come");
    list->add_flag("--passed", commands.list.passed, "those passed or seen");
    list->add_flag("--deleted", commands.list.deleted, "also those whose deletion is not sent yet");
    list->add_option("--limit", commands.list.limit, "at most so many")->type_name("N")->check(isCount);

    auto* show = addCommand(app, "show", "show one reminder", parsed, commands.show);
    show->add_option("ID", commands.show.id, oneId)->required();

    auto* edit = addCommand(app, "edit", "change a reminder", parsed, commands.edit);
    edit->add_option("ID", commands.edit.id, oneId)->required();
    edit->add_option("--title", commands.edit.title, "what to be reminded of")->type_name("TITLE");
    addChoice(*edit, commands.edit.when, presets + "; reckoned from now");

    auto* postpone = addCommand(app, "postpone", "re-time reminders", parsed, commands.postpone);
    postpone->add_option("ID", commands.postpone.ids, severalIds);
    postpone->add_flag("--all-passed", commands.postpone.allPassed, "all that have passed");
    postpone
        ->add_option("--action", commands.postpone.when.action,
                     "what a notification's button does: short, later, morning, afternoon or evening; see quendo "
                     "actions")
        ->type_name("ACTION");
    addChoice(*postpone, commands.postpone.when, presets + "; reckoned from the reminder's own moment");

    auto* seen = addCommand(app, "seen", "mark reminders seen", parsed, commands.seen);
    seen->add_option("ID", commands.seen.ids, std::string(severalIds) + "; without any, those that wait at the Mac");

    auto* remove = addCommand(app, "delete", "delete reminders", parsed, commands.delete_);
    remove->add_option("ID", commands.delete_.ids, severalIds)->required();

    addCommand<StatsArguments>(app, "stats", "count the reminders", parsed);

    auto* clear = addCommand(app, "clear", "remove every reminder on this device", parsed, commands.clear);
    clear->add_flag("--yes", commands.clear.yes, "yes, every reminder");
}

void describeOptions(CLI::App& app, Commands& commands, Arguments& parsed) {
    using Verb = OptionsArguments::Verb;
    auto* options = addCommand(app, "options", "show or change the day plan", parsed, commands.options);
    options->require_subcommand(0, 1);
    const auto addVerb = [&](const char* name, const char* does, Verb verb) {
        CLI::App* command = options->add_subcommand(name, does);
        // Runs before the callback of the command that it belongs to.
        command->callback([&commands, verb] { commands.options.verb = verb; });
        return command;
    };
    auto* get = addVerb("get", "show one setting", Verb::get);
    get->add_option("KEY", commands.options.key, "its name, as first-workday")->required();
    auto* set = addVerb("set", "change one setting", Verb::set);
    set->add_option("KEY", commands.options.key, "its name, as first-workday")->required();
    set->add_option("VALUE", commands.options.value,
                    "a day or 1 to 7; a time as 09:30; a duration as 3h or 20m; true, false or none")
        ->required();
    addVerb("reset", "go back to the day plan that everyone begins with", Verb::reset);
}

/// How long to wait: a day at most.
std::string isTimeout(const std::string& text) {
    const bool fits = isCount(text).empty() && text.size() <= 5 && std::stoll(text) >= 1 && std::stoll(text) <= 86'400;
    return fits ? "" : "\"" + text + "\" is no number of seconds from 1 to 86400";
}

void describeCloud(CLI::App& app, Commands& commands, Arguments& parsed) {
    using Verb = CloudArguments::Verb;
    auto* cloud = addCommand(app, "cloud", "connect this device to the person's cloud", parsed, commands.cloud);
    cloud->require_subcommand(1);
    const auto addVerb = [&](const char* name, const char* does, Verb verb) {
        CLI::App* command = cloud->add_subcommand(name, does);
        command->callback([&commands, verb] { commands.cloud.verb = verb; });
        return command;
    };
    auto* connect = addVerb("connect", "remember an account and check it", Verb::connect);
    connect->add_option("URL", commands.cloud.url, "where the cloud is, as https://cloud.example.org")->required();
    connect->add_option("--container", commands.cloud.container, "as iCloud.net.example.reminders")
        ->type_name("NAME")
        ->required();
    connect->add_option("--environment", commands.cloud.environment, "production, or development")->type_name("NAME");
    connect->add_option("--api-token", commands.cloud.apiToken, "the token of the application")->type_name("TOKEN");
    connect->add_option("--web-token", commands.cloud.webToken, "the person's token")->type_name("TOKEN");
    connect
        ->add_option("--token-file", commands.cloud.tokenFile,
                     "a JSON file with \"api-token\" and \"web-token\", as quendo-cloudd prints them; - for standard "
                     "input")
        ->type_name("FILE");
    addVerb("status", "say how this device stands to the cloud", Verb::status);
    addVerb("disconnect", "forget the account; the reminders stay", Verb::disconnect);

    auto* sync = addCommand(app, "sync", "upload what is unsent, then download", parsed, commands.sync);
    sync->add_option("--timeout", commands.sync.timeout, "how many seconds to wait; 30 when not given")
        ->type_name("S")
        ->check(isTimeout);
    auto* daemon = addCommand(app, "daemon", "answer the other commands until SIGTERM", parsed, commands.daemon);
    daemon->add_flag("--poll", commands.daemon.poll, "ask the cloud from time to time instead of letting it call");
    addCommand<StatusArguments>(app, "status", "say what comes next and what is unsent", parsed);
}

void describe(CLI::App& app, Commands& commands, Arguments& parsed) {
    describeReminders(app, commands, parsed);

    auto* presets = addCommand(app, "presets", "say what each preset would give", parsed, commands.presets);
    presets->add_option("--for", commands.presets.from, "reckon from any moment instead of now")->type_name("WHEN");
    addCommand<ActionsArguments>(app, "actions", "say which buttons a notification may have", parsed);
    describeOptions(app, commands, parsed);

    auto* exporting = addCommand(app, "export", "write all reminders to a file", parsed, commands.exporting);
    exporting->add_option("FILE", commands.exporting.file, "where to; standard output when not given");
    exporting
        ->add_option("--format", commands.exporting.format,
                     "json, or ics for iCalendar; when not given, ics for a FILE that ends so, else json")
        ->type_name("FORMAT");
    auto* importing = addCommand(app, "import", "store the reminders of a file", parsed, commands.importing);
    importing->add_option("FILE", commands.importing.file, "JSON or iCalendar; - for standard input")->required();

    describeCloud(app, commands, parsed);
    addCommand<VersionArguments>(app, "version", "say which version this is", parsed);
    addCommand<DoctorArguments>(app, "doctor", "check files, permissions, schema, settings, cloud and time zone",
                                parsed);
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
    describe(app, commands, parsed);
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
    return parsed;
}

}  // namespace quendo
