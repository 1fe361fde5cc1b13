#pragma once
/// \file
/// What the commands but `serve` do.

#include <string>

#include "apps/quendo-cloudd/arguments.hpp"
#include "apps/quendo/failure.hpp"

namespace cloudd {

/// What a command prints, and its exit code.
struct Output {
    std::string text;
    quendo::ExitCode code = quendo::ExitCode::done;
};

/// Runs one command on a data folder. Each may run while the server serves, and holds from its next request on.
class CommandRunner {
public:
    CommandRunner(std::string data, bool json) : data_(std::move(data)), json_(json) {}

    [[nodiscard]] quendo::Outcome<Output> operator()(const ServeArguments& arguments) const;
    [[nodiscard]] quendo::Outcome<Output> operator()(const UserAddArguments& arguments) const;
    [[nodiscard]] quendo::Outcome<Output> operator()(const UserListArguments& arguments) const;
    [[nodiscard]] quendo::Outcome<Output> operator()(const UserRemoveArguments& arguments) const;
    [[nodiscard]] quendo::Outcome<Output> operator()(const DeviceAddArguments& arguments) const;
    [[nodiscard]] quendo::Outcome<Output> operator()(const TokenRotateArguments& arguments) const;
    [[nodiscard]] quendo::Outcome<Output> operator()(const BackupArguments& arguments) const;
    [[nodiscard]] quendo::Outcome<Output> operator()(const CheckArguments& arguments) const;

private:
    const std::string data_;
    const bool json_;
};

}  // namespace cloudd
