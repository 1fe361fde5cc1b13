#pragma once
/// \file
/// The files that reminders are exported to and imported from.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "apps/quendo/failure.hpp"

namespace quendo {

/// The longest file that is read: some 500,000 reminders.
inline constexpr std::size_t transferFileLimit = std::size_t{256} << 20U;

/// How lines to the person name `file`: as it was typed, made harmless for a terminal; "standard input" for "-".
[[nodiscard]] std::string transferFileName(const std::string& file);

/// The whole of `file`, or of standard input when it is "-". Refuses, as `ExitCode::usage`, what is missing, a folder,
/// not readable, or longer than `limit` bytes.
[[nodiscard]] Outcome<std::string> readTransferFile(const std::string& file, std::size_t limit = transferFileLimit);

/// Puts `text` in the place of `file`, with mode 0600. It is written beside the file, brought to the disk and then
/// renamed, so that at every instant the old file or the new one is there as a whole; a link is followed. A pipe or
/// device is written into. Answers why it failed; then the old file is as it was.
[[nodiscard]] std::optional<Failure> writeTransferFile(const std::string& file, std::string_view text);

}  // namespace quendo
