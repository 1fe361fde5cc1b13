#pragma once
/// \file
/// Running a program as a person or a script does.

#include <map>
#include <string>
#include <vector>

namespace quendokit::testing {

/// What a program left behind.
struct ProgramResult {
    /// The exit code, or 128 and the signal that ended it.
    int code;
    std::string output;
    std::string errors;
};

/// Runs `words` (the first is the program, or a name in PATH) with standard input empty and with only `environment`
/// besides PATH. Waits for its end.
[[nodiscard]] ProgramResult runProgram(const std::vector<std::string>& words,
                                       const std::map<std::string, std::string>& environment = {});

/// Runs `words` likewise, but with a terminal so wide as all three standard streams. All that it writes is `output`.
[[nodiscard]] ProgramResult runProgramOnTerminal(const std::vector<std::string>& words,
                                                 const std::map<std::string, std::string>& environment,
                                                 unsigned short columns);

}  // namespace quendokit::testing
