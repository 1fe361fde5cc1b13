#include "apps/quendo-cloudd/arguments.hpp"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>

#include "apps/quendo/escaped_text.hpp"

namespace cloudd {
namespace {

using quendo::escapedText;
using quendo::ExitCode;
using quendo::Failure;

constexpr std::size_t longestName = 64;

/// Where the commands' words go. Lives as long as the parser that writes into it.
struct Commands {
    ServeArguments serve;
    UserAddArguments userAdd;
    UserRemoveArguments userRemove;
    DeviceAddArguments deviceAdd;
    TokenRotateArguments tokenRotate;
    BackupArguments backup;
};

/// CLI11 takes an empty answer for a yes.
std::string isName(const std::string& text) {
    const bool hasControl = std::any_of(text.begin(), text.end(), [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
    });
    const bool good =
        !text.empty() && text.size() <= longestName && !hasControl && quendo::isPlainText(text) && text[0] != '-';
    return good ? "" : "\"" + escapedText(text, 80) + "\" is no name of 1 to 64 bytes of plain text";
}

void describe(CLI::App& app, Commands& commands, Arguments& parsed) {
    auto* serve = app.add_subcommand("serve", "serve until SIGTERM");
    serve->add_option("--listen", commands.serve.listen, "where, 127.0.0.1:8420 when not given; port 0 is a free one")
        ->type_name("ADDRESS:PORT");
    serve->add_option("--port-file", commands.serve.portFile, "write the port's number here once it listens")
        ->type_name("FILE");
    auto* certificate =
        serve->add_option("--tls-cert", commands.serve.tlsCertificate, "certificate chain, PEM")->type_name("FILE");
    auto* key = serve->add_option("--tls-key", commands.serve.tlsKey, "its private key, PEM; nobody else may read it")
                    ->type_name("FILE");
    certificate->needs(key);
    key->needs(certificate);
    serve->add_flag("--insecure", commands.serve.insecure, "plain HTTP beyond this machine too");
    serve->callback([&] { parsed.command = commands.serve; });

    auto* user = app.add_subcommand("user", "add, list or remove users");
    user->require_subcommand(1);
    auto* add = user->add_subcommand("add", "add a user and print the tokens, once");
    add->add_option("NAME", commands.userAdd.name, "what to call the user")->required()->check(isName);
    add->callback([&] { parsed.command = commands.userAdd; });
    user->add_subcommand("list", "list users and their devices")->callback([&] {
        parsed.command = UserListArguments();
    });
    auto* remove = user->add_subcommand("remove", "remove a user with everything stored for them");
    remove->add_option("NAME", commands.userRemove.name, "who")->required();
    remove->add_flag("--yes", commands.userRemove.yes, "yes, everything");
    remove->callback([&] { parsed.command = commands.userRemove; });

    auto* device = app.add_subcommand("device", "add a device to a user");
    device->require_subcommand(1);
    auto* addDevice = device->add_subcommand("add", "print tokens for one more device of a user, once");
    addDevice->add_option("NAME", commands.deviceAdd.name, "the user")->required();
    addDevice->add_option("DEVICE", commands.deviceAdd.device, "what to call the device")->required()->check(isName);
    addDevice->callback([&] { parsed.command = commands.deviceAdd; });

    auto* token = app.add_subcommand("token", "give new tokens");
    token->require_subcommand(1);
    auto* rotate = token->add_subcommand("rotate", "print new tokens, once; the old ones stop at once");
    rotate->add_option("NAME", commands.tokenRotate.name, "the user")->required();
    rotate->add_option("DEVICE", commands.tokenRotate.device, "the device; without one, that of `user add`");
    rotate->callback([&] { parsed.command = commands.tokenRotate; });

    auto* backup = app.add_subcommand("backup", "write everything to a tar archive, also while serving");
    backup->add_option("FILE", commands.backup.file, "where to; there must be no such file yet")->required();
    backup->callback([&] { parsed.command = commands.backup; });

    app.add_subcommand("check", "check every file for damage")->callback([&] { parsed.command = CheckArguments(); });
}

/// CLI11's words as one line of ours.
Failure usageFailure(const CLI::ParseError& error, const CLI::App& app) {
    std::string what = error.what();
    const auto unknown = app.remaining(true);
    if (error.get_name() == "RequiredError" && what.find("subcommand") != std::string::npos) {
        what = unknown.empty() ? "no command given" : "there is no command \"" + unknown.front() + "\"";
    } else if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        what = "\"" + unknown.front() + "\" was not expected";
    }
    return {ExitCode::usage, escapedText(what, 200) + "; see quendo-cloudd --help"};
}

}  // namespace

std::variant<Arguments, Help, Failure> parseArguments(std::vector<std::string> arguments,
                                                      const std::optional<std::string>& environmentData) {
    Arguments parsed;
    Commands commands;
    CLI::App app("Keeps the records of people's devices and tells the others what changed.", "quendo-cloudd");
    parsed.data = environmentData.value_or("");
    app.add_option("--data", parsed.data, "the folder of everything; without it, QUENDO_CLOUDD_DATA names it")
        ->type_name("DIR");
    app.add_flag("--json", parsed.json, "answer with one JSON document");
    app.set_version_flag("--version", "quendo-cloudd " QUENDO_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    describe(app, commands, parsed);
    // CLI11 takes the words from the back.
    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::CallForHelp&) {
        return Help{app.help()};
    } catch (const CLI::CallForVersion& version) {
        return Help{version.what()};
    } catch (const CLI::ParseError& error) {
        return usageFailure(error, app);
    }
    if (parsed.data.empty()) {
        return Failure{ExitCode::usage, "no data folder given; name one with --data DIR or in QUENDO_CLOUDD_DATA"};
    }
    return parsed;
}

}  // namespace cloudd
