#pragma once
/// \file
/// Standard output and its kin as a careful program treats them.

#include <optional>
#include <string_view>

#include "apps/quendo/failure.hpp"

namespace quendo {

/// Opens /dev/null for each of the three standard descriptors that is closed, so that no file of ours takes its number;
/// lets a closed pipe, and a file that may grow no more, be an error of the write instead of the process's end.
void prepareStandardStreams();

/// Writes the whole text. A reader that has gone away is no failure.
[[nodiscard]] std::optional<Failure> writeStandardOutput(std::string_view text);

}  // namespace quendo
