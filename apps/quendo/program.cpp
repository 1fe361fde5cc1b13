#include "apps/quendo/program.hpp"

#include <cstdio>
#include <utility>

#include "apps/quendo/arguments.hpp"
#include "apps/quendo/command_runner.hpp"
#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/standard_output.hpp"

namespace quendo {
namespace {

int fail(const Failure& failure) {
    std::fprintf(stderr, "quendo: %s\n", escapedText(failure.line).c_str());
    return static_cast<int>(failure.code);
}

int print(const Output& output) {
    if (auto failure = writeStandardOutput(output.text.empty() ? "" : output.text + "\n")) {
        return fail(*failure);
    }
    return static_cast<int>(output.code);
}

}  // namespace

int run(std::vector<std::string> arguments) {
    const auto parsed = parseArguments(std::move(arguments));
    if (const auto* failure = std::get_if<Failure>(&parsed)) {
        return fail(*failure);
    }
    if (const auto* help = std::get_if<Help>(&parsed)) {
        const std::string& text = help->text;
        return print({text.substr(0, text.find_last_not_of('\n') + 1)});
    }
    const auto& known = std::get<Arguments>(parsed);
    const bool needsFolders = !std::holds_alternative<VersionArguments>(known.command);
    auto folders = needsFolders ? findFolders(known.home) : Folders();
    if (!folders) {
        return fail(folders.failure());
    }
    auto output = std::visit(CommandRunner(std::move(folders).value(), known.json, known.quiet), known.command);
    if (!output) {
        return fail(output.failure());
    }
    const bool silent = known.quiet && !output.value().isProduct;
    return silent ? static_cast<int>(output.value().code) : print(output.value());
}

}  // namespace quendo
