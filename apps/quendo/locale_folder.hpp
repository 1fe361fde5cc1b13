#pragma once
/// \file
/// The person's language: where its texts lie, and the locale that chooses it.

#include <filesystem>

namespace quendo {

/// The folder of the message catalogues: beside the program where it is installed, or that of the build tree it was
/// built in. Empty when there is none; every text is English then.
[[nodiscard]] std::filesystem::path findLocaleFolder();

/// Takes the environment's locale for texts and characters; numbers and dates stay as they are. A person whose locale
/// the system lacks still gets texts in that language. Called once, by the main function.
void takeLocale();

}  // namespace quendo
