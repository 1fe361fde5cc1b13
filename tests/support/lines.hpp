#pragma once
/// \file
/// Text as its lines.

#include <sstream>
#include <string>
#include <vector>

namespace quendokit::testing {

/// Without their line breaks; nothing after the last one is no line.
inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace quendokit::testing
