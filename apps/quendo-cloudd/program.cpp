#include "apps/quendo-cloudd/program.hpp"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "apps/quendo-cloudd/arguments.hpp"
#include "apps/quendo-cloudd/commands.hpp"
#include "apps/quendo/escaped_text.hpp"
#include "apps/quendo/standard_output.hpp"

namespace cloudd {
namespace {

int fail(const quendo::Failure& failure) {
    std::fprintf(stderr, "quendo-cloudd: %s\n", quendo::escapedText(failure.line).c_str());
    return static_cast<int>(failure.code);
}

int print(const Output& output) {
    if (!output.text.empty()) {
        if (auto failure = quendo::writeStandardOutput(output.text + "\n")) {
            return fail(*failure);
        }
    }
    return static_cast<int>(output.code);
}

std::optional<std::string> environmentData() {
    const char* folder = std::getenv("QUENDO_CLOUDD_DATA");
    return folder == nullptr ? std::nullopt : std::optional<std::string>(folder);
}

}  // namespace

int run(std::vector<std::string> arguments) {
    const auto parsed = parseArguments(std::move(arguments), environmentData());
    if (const auto* failure = std::get_if<quendo::Failure>(&parsed)) {
        return fail(*failure);
    }
    if (const auto* help = std::get_if<Help>(&parsed)) {
        const std::string& text = help->text;
        return print({text.substr(0, text.find_last_not_of('\n') + 1)});
    }
    const auto& known = std::get<Arguments>(parsed);
    auto output = std::visit(CommandRunner(known.data, known.json), known.command);
    return output ? print(output.value()) : fail(output.failure());
}

}  // namespace cloudd
