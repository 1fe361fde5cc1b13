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

/// None of the three last means the preset "later".
struct AddArguments {
    std::string title;
    /// The text of WHEN.
    std::optional<std::string> at;
    /// The text of PRESET.
    std::optional<std::string> preset;
    bool mac = false;
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

struct DeleteArguments {
    std::vector<std::string> ids;
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

struct VersionArguments {};
struct DoctorArguments {};

struct Arguments {
    /// The folder for everything; absent for the environment's.
    std::optional<std::string> home;
    bool json = false;
    bool quiet = false;
    std::variant<AddArguments, ListArguments, ShowArguments, DeleteArguments, PresetsArguments, ActionsArguments,
                 OptionsArguments, VersionArguments, DoctorArguments>
        command;
};

/// The text that `--help` asks for.
struct Help {
    std::string text;
};

/// Reads the arguments after the program's name.
[[nodiscard]] std::variant<Arguments, Help, Failure> parseArguments(std::vector<std::string> arguments);

}  // namespace quendo
