#include "apps/quendo/preset_name.hpp"

#include <algorithm>
#include <array>
#include <string>

#include "apps/quendo/escaped_text.hpp"

namespace quendo {
namespace {

/// In the order of `PresetController::presets()`.
constexpr std::array<std::string_view, 10> names{
    "later",        "this-afternoon", "this-evening", "tomorrow-morning", "tomorrow-afternoon", "tomorrow-evening",
    "this-weekend", "next-week",      "pick-a-date",  "on-my-mac",
};
constexpr std::size_t pickADate = 8;

std::string withHyphens(std::string_view text) {
    std::string name(text);
    std::transform(name.begin(), name.end(), name.begin(), [](char c) {
        const bool upper = 'A' <= c && c <= 'Z';
        return c == ' ' ? '-' : upper ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return name;
}

}  // namespace

Outcome<std::size_t> parsePreset(std::string_view text) {
    const bool isIndex = text.size() == 1 && '0' <= text.front() && text.front() <= '9';
    const auto named = std::find(names.begin(), names.end(), withHyphens(text));
    const auto index =
        isIndex ? static_cast<std::size_t>(text.front() - '0') : static_cast<std::size_t>(named - names.begin());
    if (index == names.size()) {
        return Failure{ExitCode::usage, "there is no preset \"" + escapedText(text, 80) +
                                            "\"; see quendo presets for their names and numbers"};
    }
    if (index == pickADate) {
        return Failure{ExitCode::usage, "the preset \"Pick a Date\" says no date; give one with --at WHEN"};
    }
    return index;
}

}  // namespace quendo
