#pragma once
/// \file
/// The command line as values.

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "apps/quendo/failure.hpp"

namespace quendo {

/// How a person says when a reminder is to come; at most one of them can be meant.
struct ChoiceArguments {
    /// The text of WHEN.
    std::optional<std::string> at;
    /// The text of PRESET.
    std::optional<std::string> preset;
    /// The word for a button, only of `postpone`.
    std::optional<std::string> action;
    bool mac = false;
};

/// No choice means the preset "later".
struct AddArguments {
    std::string title;
    ChoiceArguments when;
};

/// No list chosen means all three.
struct ListArguments {
    bool mac = false;
    bool upcoming = false;
    bool passed = false;
    bool deleted = false;
    /// Not negative; absent for no limit.
    std::optional<std::int64_t> limit;
};

struct ShowArguments {
    std::string id;
};

/// What is not given stays.
struct EditArguments {
    std::string id;
    std::optional<std::string> title;
    ChoiceArguments when;
};

struct PostponeArguments {
    std::vector<std::string> ids;
    bool allPassed = false;
    ChoiceArguments when;
};

/// None means the unseen device reminders.
struct SeenArguments {
    std::vector<std::string> ids;
};

struct DeleteArguments {
    std::vector<std::string> ids;
};

struct StatsArguments {};

struct ClearArguments {
    bool yes = false;
};

struct ExportArguments {
    /// Absent for standard output.
    std::optional<std::string> file;
    /// Absent for what the file's name says.
    std::optional<std::string> format;
};

struct ImportArguments {
    std::string file;
};

struct PresetsArguments {
    /// The text of WHEN; absent for now.
    std::optional<std::string> from;
};

struct ActionsArguments {};

struct OptionsArguments {
    enum class Verb { show, get, set, reset };
    Verb verb = Verb::show;
    /// The text of KEY, for `get` and `set`.
    std::string key;
    /// The text of VALUE, for `set`.
    std::string value;
};

struct CloudArguments {
    enum class Verb { connect, status, disconnect };
    Verb verb = Verb::status;
    std::string url;
    std::string container;
    std::string environment = "production";
    std::optional<std::string> apiToken;
    std::optional<std::string> webToken;
    /// A file with both tokens.
    std::optional<std::string> tokenFile;
};

struct SyncArguments {
    /// Seconds, above 0.
    std::int64_t timeout = 30;
};

struct StatusArguments {};

struct DaemonArguments {
    /// Asks the cloud from time to time instead of letting it call.
    bool poll = false;
};

struct VersionArguments {};
struct DoctorArguments {};

struct Arguments {
    /// The folder for everything; absent for the environment's.
    std::optional<std::string> home;
    bool json = false;
    bool quiet = false;
    std::variant<AddArguments, ListArguments, ShowArguments, EditArguments, PostponeArguments, SeenArguments,
                 DeleteArguments, StatsArguments, ClearArguments, PresetsArguments, ActionsArguments, OptionsArguments,
                 ExportArguments, ImportArguments, CloudArguments, SyncArguments, StatusArguments, VersionArguments,
                 DoctorArguments, DaemonArguments>
        command;
};

/// The text that `--help` asks for.
struct Help {
    std::string text;
};

/// Reads the arguments after the program's name.
[[nodiscard]] std::variant<Arguments, Help, Failure> parseArguments(std::vector<std::string> arguments);

}  // namespace quendo
