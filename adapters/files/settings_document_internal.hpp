#pragma once
/// \file
/// The content of a file of settings: one JSON object, taken apart and put together again.

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace quendokit::files {

/// Each key with its value as the JSON text that stands in the file, letter by letter.
using SettingsDocument = std::map<std::string, std::string, std::less<>>;

/// No file of settings is larger than this many bytes or nested deeper than this many levels, the outermost included.
inline constexpr std::size_t largestFile = 4'000'000;
inline constexpr std::size_t deepestNesting = 32;

/// What was found in a file.
struct ParsedSettings {
    SettingsDocument document;
    /// What is wrong with the text, as "byte 12 is no JSON"; empty when nothing is. Then the document is empty.
    std::string damage;
};

[[nodiscard]] ParsedSettings parseSettings(std::string_view text);

/// Stored format. One member a line, in the order of the keys. Every key is UTF-8.
[[nodiscard]] std::string renderSettings(const SettingsDocument& document);

}  // namespace quendokit::files
