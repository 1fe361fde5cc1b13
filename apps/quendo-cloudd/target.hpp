#pragma once
/// \file
/// The target of a request line, taken apart.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cloudd {

struct Target {
    /// The segments between the slashes, decoded. None is empty, "." or "..".
    std::vector<std::string> path;
    /// Decoded; of a name that comes twice the first value.
    std::map<std::string, std::string> query;
};

/// Absent when it is no path and query of plain characters and whole percent codes, or a part decodes to something that
/// is no UTF-8, or holds a control character or, in the path, a slash.
[[nodiscard]] std::optional<Target> parseTarget(std::string_view text);

/// The target for the log: the query, where tokens stand, is left out and what is left is harmless to print.
[[nodiscard]] std::string redactedTarget(std::string_view text);

}  // namespace cloudd
