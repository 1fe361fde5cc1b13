#pragma once
/// \file
/// The lines of the armed list and of the ledger of what rang. Stored formats.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "hostkit/armed_list.hpp"
#include "hostkit/fired_entry.hpp"

namespace quendokit {

/// How many reminders follow, and the version.
[[nodiscard]] std::string armedCountLine(std::size_t count);
/// Absent when the line is none of ours.
[[nodiscard]] std::optional<std::size_t> armedCountFromLine(std::string_view line);

/// Ids keep every byte. What is no UTF-8 in a title comes back as its replacement character.
[[nodiscard]] std::string armedLine(const ArmedReminder& reminder);
[[nodiscard]] std::optional<ArmedReminder> armedFromLine(std::string_view line);

[[nodiscard]] std::string firedLine(const FiredEntry& entry);
[[nodiscard]] std::optional<FiredEntry> firedFromLine(std::string_view line);

/// When a ledger began, and when it was last held against the store.
struct LedgerMoments {
    Date beginning;
    std::optional<Date> lastCheck;
};
[[nodiscard]] std::string momentsLine(const LedgerMoments& moments);
[[nodiscard]] std::optional<LedgerMoments> momentsFromLine(std::string_view line);

}  // namespace quendokit
