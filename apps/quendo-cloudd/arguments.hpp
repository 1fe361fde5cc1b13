#pragma once
/// \file
/// The command line as values.

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "apps/quendo/failure.hpp"

namespace cloudd {

struct ServeArguments {
    std::string listen = "127.0.0.1:8420";
    std::optional<std::string> portFile;
    /// Both or none.
    std::optional<std::string> tlsCertificate;
    std::optional<std::string> tlsKey;
    bool insecure = false;
};

struct UserAddArguments {
    std::string name;
};

struct UserListArguments {};

struct UserRemoveArguments {
    std::string name;
    bool yes = false;
};

struct DeviceAddArguments {
    std::string name;
    std::string device;
};

struct TokenRotateArguments {
    std::string name;
    /// Absent for the device that came with the user.
    std::optional<std::string> device;
};

struct BackupArguments {
    std::string file;
};

struct CheckArguments {};

struct Arguments {
    std::string data;
    bool json = false;
    std::variant<ServeArguments, UserAddArguments, UserListArguments, UserRemoveArguments, DeviceAddArguments,
                 TokenRotateArguments, BackupArguments, CheckArguments>
        command;
};

/// The text that `--help` or `--version` asks for.
struct Help {
    std::string text;
};

/// Reads the arguments after the program's name. `environmentData` is the data folder that the environment names.
[[nodiscard]] std::variant<Arguments, Help, quendo::Failure> parseArguments(
    std::vector<std::string> arguments, const std::optional<std::string>& environmentData);

}  // namespace cloudd
