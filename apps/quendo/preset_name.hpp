#pragma once
/// \file
/// The names by which a person chooses a preset.

#include <cstddef>
#include <string_view>

#include "apps/quendo/failure.hpp"

namespace quendo {

/// The index, in `PresetController::presets()`, that `text` names: "0" to "9", or the English name in any case, with
/// blanks or hyphens, as "tomorrow-morning". "Pick a Date" is refused: a date is given as such.
[[nodiscard]] Outcome<std::size_t> parsePreset(std::string_view text);

}  // namespace quendo
