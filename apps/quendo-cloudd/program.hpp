#pragma once
/// \file
/// The program from its arguments to its exit code.

#include <string>
#include <vector>

namespace cloudd {

/// Runs one command: the answer goes to standard output, one line of a failure to standard error. `arguments` are those
/// after the program's name.
[[nodiscard]] int run(std::vector<std::string> arguments);

}  // namespace cloudd
