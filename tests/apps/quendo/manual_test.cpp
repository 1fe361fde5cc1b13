/// \file
/// The manual page and the completion name exactly the commands and options that the program's own help names.

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "tests/apps/quendo/program_fixture.hpp"
#include "tests/support/lines.hpp"

namespace quendo::testing {
namespace {

using quendokit::testing::linesOf;
using quendokit::testing::runProgram;

using Names = std::set<std::string>;
/// The options of each command; those of everything are under "". A verb is a command, as "options set".
using Commands = std::map<std::string, Names>;

Names optionsIn(const std::string& text) {
    static const std::regex option("--[a-z][a-z-]*");
    return {std::sregex_token_iterator(text.begin(), text.end(), option), std::sregex_token_iterator()};
}

class Manual : public QuendoProgram {
protected:
    /// What `quendo COMMAND --help` lists, and its verbs' help.
    void addHelp(const std::string& command, Commands& commands) const {
        std::vector<std::string> words;
        std::istringstream stream(command);
        for (std::string word; stream >> word;) {
            words.push_back(word);
        }
        words.emplace_back("--help");
        const ProgramResult help = run(words);
        ASSERT_EQ(help.code, 0) << help.errors;
        std::string section;
        for (const std::string& line : linesOf(help.output)) {
            if (!line.starts_with(' ')) {
                section = line;
                continue;
            }
            const std::string first = line.substr(2, line.find("  ", 2) - 2);
            if (section == "Options:") {
                commands[command].merge(optionsIn(first));
            } else if (section == "Subcommands:") {
                addHelp(command.empty() ? first : command + " " + first, commands);
            }
        }
    }

    [[nodiscard]] Commands help() const {
        Commands commands;
        addHelp("", commands);
        // Every command's help names this one again.
        for (auto& [command, options] : commands) {
            if (!command.empty()) {
                options.erase("--help");
            }
        }
        // Does nothing without one of its own.
        commands.erase("cloud");
        return commands;
    }

    /// What the lines that begin with a name in bold tell, in the page's sections OPTIONS and COMMANDS.
    static Commands manual() {
        std::ifstream file(QUENDO_MANUAL_SOURCE);
        Commands commands;
        std::string section;
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("# ")) {
                section = line.substr(2);
            } else if (line.starts_with('*') && section == "OPTIONS") {
                commands[""].merge(optionsIn(line));
            } else if (line.starts_with('*') && section == "COMMANDS") {
                commands[line.substr(1, line.find('*', 1) - 1)].merge(optionsIn(line));
            }
        }
        return commands;
    }

    /// What the completion offers in the place of the last word.
    [[nodiscard]] Names offered(const std::string& words) const {
        const ProgramResult result =
            runProgram({"bash", "-c",
                        "source '" QUENDO_COMPLETION "'; COMP_WORDS=(quendo " + words +
                            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _quendo quendo; echo \"${COMPREPLY[@]}\""});
        EXPECT_EQ(result.errors, "");
        std::istringstream stream(result.output);
        return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
    }

    [[nodiscard]] Commands completion() const {
        Commands commands;
        commands[""] = offered("--");
        for (const std::string& command : offered("''")) {
            commands[command] = offered(command + " --");
        }
        for (const std::string command : {"options", "cloud"}) {
            for (const std::string& verb : offered(command + " ''")) {
                const std::string whole = command + ' ' + verb;
                commands[whole] = offered(whole + " --");
            }
        }
        commands.erase("cloud");
        for (auto& [command, options] : commands) {
            if (!command.empty()) {
                for (const std::string& everywhere : commands.at("")) {
                    EXPECT_EQ(options.erase(everywhere), 1U) << command << ' ' << everywhere;
                }
            }
        }
        return commands;
    }
};

TEST_F(Manual, NamesTheCommandsAndOptionsOfTheHelp) {
    EXPECT_GT(help().size(), 9U);
    EXPECT_EQ(manual(), help());
}

TEST_F(Manual, NamesTheCommandsAndOptionsOfTheCompletion) {
    EXPECT_EQ(manual(), completion());
}

TEST_F(Manual, EveryPageIsSound) {
    for (const std::string page : {"quendo.1", "quendo-json.7"}) {
        const ProgramResult result = runProgram(
            {"groff", "-man", "-t", "-Tutf8", "-Kutf8", "-ww", "-z", std::string(QUENDO_MANUAL) + "/" + page});
        EXPECT_EQ(result.code, 0) << page;
        EXPECT_EQ(result.output + result.errors, "") << page;
    }
}

}  // namespace
}  // namespace quendo::testing
