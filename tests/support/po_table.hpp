#pragma once
/// \file
/// `PoTable`, a table of translations as po/ holds them.

#include <filesystem>
#include <string>
#include <vector>

namespace quendokit::testing {

/// One text and its translation.
struct PoEntry {
    /// The lines "#. ", one each.
    std::vector<std::string> comments;
    std::string key;
    /// "" when there is none.
    std::string translation;

    friend bool operator==(const PoEntry&, const PoEntry&) = default;
};

/// What a table holds, and what it should not.
struct PoTable {
    /// The translation of the empty key: a line for each field, "Language: de".
    std::string header;
    std::vector<PoEntry> entries;
    /// A line for each that is no part of a finished table, with its number: fuzzy and obsolete entries, contexts,
    /// plural forms, references. Notes of translators ("# …") are none of these.
    std::vector<std::string> unexpected;
};

/// Understands the lines of a table.
[[nodiscard]] PoTable parsePoTable(const std::string& text);

/// Reads a file; an `unexpected` line says when that fails.
[[nodiscard]] PoTable readPoTable(const std::filesystem::path& file);

}  // namespace quendokit::testing
