#include "apps/quendo-cloudd/commands.hpp"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "apps/quendo-cloudd/accounts.hpp"
#include "apps/quendo-cloudd/backup.hpp"
#include "apps/quendo-cloudd/data_folder.hpp"
#include "apps/quendo-cloudd/serve.hpp"
#include "apps/quendo-cloudd/user_store.hpp"
#include "apps/quendo/escaped_text.hpp"

namespace cloudd {
namespace {

using nlohmann::ordered_json;
using quendo::ExitCode;
using quendo::Failure;
using quendo::failureOf;
using quendo::Outcome;

Outcome<Accounts> openAccounts(const std::filesystem::path& folder, IfAbsent ifAbsent) {
    if (auto failure = prepareDataFolder(folder, ifAbsent)) {
        return *std::move(failure);
    }
    auto accounts = Accounts::open(folder);
    giveToOwner(folder, keyFile(folder));
    giveToOwner(folder, accountsFile(folder));
    if (!accounts) {
        return failureOf(accounts.error());
    }
    return std::move(accounts).value();
}

Failure noUser(const std::string& name) {
    return {ExitCode::notDone,
            "there is no user \"" + quendo::escapedText(name, 80) + "\"; see quendo-cloudd user list"};
}

Outcome<std::string> userIdOf(Accounts& accounts, const std::string& name) {
    auto id = accounts.userId(name);
    if (!id) {
        return failureOf(id.error());
    }
    if (!id.value()) {
        return noUser(name);
    }
    return *std::move(id.value());
}

/// The answer with a user's tokens, the only one that ever shows them.
Output tokensOutput(bool json, const std::string& user, const std::optional<std::string>& device,
                    const DeviceTokens& tokens) {
    if (json) {
        ordered_json document{{"user", user}};
        if (device) {
            document["device"] = *device;
        }
        document["api-token"] = tokens.api;
        document["web-token"] = tokens.web;
        return {document.dump(2)};
    }
    const std::string whose = device ? "device \"" + quendo::escapedText(*device) + "\" of " : "";
    return {"The tokens for " + whose + "\"" + quendo::escapedText(user) + "\", shown this once:\n  api-token  " +
            tokens.api + "\n  web-token  " + tokens.web};
}

}  // namespace

Outcome<Output> CommandRunner::operator()(const ServeArguments& arguments) const {
    if (auto failure = serve(data_, arguments)) {
        return *std::move(failure);
    }
    return Output{};
}

Outcome<Output> CommandRunner::operator()(const UserAddArguments& arguments) const {
    const std::filesystem::path folder(data_);
    auto accounts = openAccounts(folder, IfAbsent::make);
    if (!accounts) {
        return accounts.failure();
    }
    // The file first: a user without one would be refused by a server that looks now.
    const std::string id = randomHex(16);
    const std::filesystem::path file = userFile(folder, id);
    const auto removeFile = [&] {
        std::error_code ignored;
        for (const char* suffix : {"", "-wal", "-shm"}) {
            std::filesystem::remove(file.string() + suffix, ignored);
        }
    };
    if (auto failure = UserStore::create(file)) {
        removeFile();
        return failureOf(*failure);
    }
    giveToOwner(folder, file);
    auto tokens = accounts.value().addUser(arguments.name, id);
    if (!tokens || !tokens.value()) {
        removeFile();
        return tokens ? Failure{ExitCode::notDone, "there is a user \"" + quendo::escapedText(arguments.name) +
                                                       "\" already; choose another name"}
                      : failureOf(tokens.error());
    }
    return tokensOutput(json_, arguments.name, std::nullopt, *tokens.value());
}

Outcome<Output> CommandRunner::operator()(const UserListArguments&) const {
    auto accounts = openAccounts(data_, IfAbsent::refuse);
    if (!accounts) {
        return accounts.failure();
    }
    auto users = accounts.value().users();
    if (!users) {
        return failureOf(users.error());
    }
    ordered_json list = ordered_json::array();
    std::string text;
    for (const UserListing& user : users.value()) {
        list.push_back({{"user", user.name}, {"devices", user.devices}});
        text += (text.empty() ? "" : "\n") + quendo::escapedText(user.name);
        for (const std::string& device : user.devices) {
            text += "\n  " + quendo::escapedText(device);
        }
    }
    return Output{json_ ? list.dump(2) : text.empty() ? "No users." : text};
}

Outcome<Output> CommandRunner::operator()(const UserRemoveArguments& arguments) const {
    if (!arguments.yes) {
        return Failure{ExitCode::usage, "this removes every record of the user; add --yes if that is meant"};
    }
    auto accounts = openAccounts(data_, IfAbsent::refuse);
    if (!accounts) {
        return accounts.failure();
    }
    auto id = userIdOf(accounts.value(), arguments.name);
    if (!id) {
        return id.failure();
    }
    if (auto failure = accounts.value().removeUser(id.value())) {
        return failureOf(*failure);
    }
    const std::filesystem::path file = userFile(data_, id.value());
    for (const char* suffix : {"", "-wal", "-shm"}) {
        std::error_code error;
        std::filesystem::remove(file.string() + suffix, error);
        if (error) {
            return Failure{ExitCode::notDone, file.string() + suffix + ": " + error.message() +
                                                  "; the user is gone, delete this file by hand"};
        }
    }
    return Output{json_ ? ordered_json{{"removed", arguments.name}}.dump(2)
                        : "Removed \"" + quendo::escapedText(arguments.name) + "\"."};
}

Outcome<Output> CommandRunner::operator()(const DeviceAddArguments& arguments) const {
    auto accounts = openAccounts(data_, IfAbsent::refuse);
    if (!accounts) {
        return accounts.failure();
    }
    auto id = userIdOf(accounts.value(), arguments.name);
    if (!id) {
        return id.failure();
    }
    auto tokens = accounts.value().addDevice(id.value(), arguments.device);
    if (!tokens) {
        return failureOf(tokens.error());
    }
    if (!tokens.value()) {
        return Failure{ExitCode::notDone, "there is a device \"" + quendo::escapedText(arguments.device) +
                                              "\" already; choose another name, or rotate its tokens"};
    }
    return tokensOutput(json_, arguments.name, arguments.device, *tokens.value());
}

Outcome<Output> CommandRunner::operator()(const TokenRotateArguments& arguments) const {
    auto accounts = openAccounts(data_, IfAbsent::refuse);
    if (!accounts) {
        return accounts.failure();
    }
    auto id = userIdOf(accounts.value(), arguments.name);
    if (!id) {
        return id.failure();
    }
    auto tokens = accounts.value().rotate(id.value(), arguments.device.value_or(""));
    if (!tokens) {
        return failureOf(tokens.error());
    }
    if (!tokens.value()) {
        return Failure{ExitCode::notDone, "there is no device \"" +
                                              quendo::escapedText(arguments.device.value_or(""), 80) +
                                              "\"; see quendo-cloudd user list"};
    }
    return tokensOutput(json_, arguments.name, arguments.device, *tokens.value());
}

Outcome<Output> CommandRunner::operator()(const BackupArguments& arguments) const {
    if (auto failure = prepareDataFolder(data_, IfAbsent::refuse)) {
        return *std::move(failure);
    }
    if (auto failure = backUp(data_, arguments.file)) {
        return *std::move(failure);
    }
    return Output{json_ ? ordered_json{{"backup", arguments.file}}.dump(2)
                        : "Everything is in " + quendo::escapedText(arguments.file) + "."};
}

Outcome<Output> CommandRunner::operator()(const CheckArguments&) const {
    if (auto failure = prepareDataFolder(data_, IfAbsent::refuse)) {
        return *std::move(failure);
    }
    auto findings = check(data_);
    if (!findings) {
        return findings.failure();
    }
    Output output;
    ordered_json list = ordered_json::array();
    for (const Finding& finding : findings.value()) {
        list.push_back({{"check", finding.check}, {"ok", finding.ok}, {"detail", finding.detail}});
        output.text += (output.text.empty() ? "" : "\n") + std::string(finding.ok ? "ok      " : "FAILED  ") +
                       finding.check + (finding.ok ? "" : ": " + quendo::escapedText(finding.detail));
        // Damage outweighs everything else.
        output.code = std::max(output.code, finding.code);
    }
    if (json_) {
        output.text = list.dump(2);
    }
    return output;
}

}  // namespace cloudd
