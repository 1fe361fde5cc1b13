#pragma once
/// \file
/// `FiredLedger`, which remembers what rang.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "hostkit/fired_entry.hpp"
#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// One entry for each reminder and moment that rang, in memory and in a file (0600) that only grows, until it is
/// written anew without what nobody needs. With it nothing rings twice, whatever the clock does and whenever the
/// process ends. Needs POSIX files. One process at a time; main thread only.
///
/// Stored format: checked lines of JSON. The last line of a reminder and moment counts. A line that a crash cut off is
/// dropped. The errors' domain is "FiredLedger", their code is that of `errno`.
class QUENDOKIT_EXPORT FiredLedger {
public:
    using Entries = std::vector<FiredEntry>;

    /// Opens `file`, or makes it in a folder that exists; `now` is its beginning then. Refuses a symbolic link and what
    /// is no regular file. Tells `reports` in one line of lines that were damaged.
    [[nodiscard]] static Result<std::unique_ptr<FiredLedger>> open(
        const std::filesystem::path& file, Date now, const std::function<void(const std::string&)>& reports = {});
    /// Remembers until it ends: better than none for a host whose file cannot be opened.
    [[nodiscard]] static std::unique_ptr<FiredLedger> inMemory(Date now);

    FiredLedger(const FiredLedger&) = delete;
    FiredLedger& operator=(const FiredLedger&) = delete;
    ~FiredLedger();

    /// When this person's home first ran a ledger.
    [[nodiscard]] Date beginning() const noexcept { return beginning_; }
    /// Up to when everything that was due is in here; absent before the first check.
    [[nodiscard]] std::optional<Date> lastCheck() const noexcept { return lastCheck_; }

    /// Absent (null) when it did not ring. Valid until the ledger changes.
    [[nodiscard]] const FiredEntry* find(std::string_view id, std::optional<Date> occurrence) const;
    /// Those shown as `handle`, the latest of that name.
    [[nodiscard]] Entries shownAs(const std::string& handle) const;
    /// Those in that state, which is not `acted`. Costs by how many are not.
    [[nodiscard]] Entries in(FiredEntry::State state) const;
    [[nodiscard]] std::size_t count() const noexcept { return count_; }

    /// Puts `entries` in the place of those of the same reminders and moments, and remembers that everything up to
    /// `checked` was looked at. All of it is on the disk when this returns without an error, after one wait for it.
    /// With an error it is remembered all the same, and written with what comes next.
    [[nodiscard]] std::optional<Error> put(const Entries& entries, std::optional<Date> checked = std::nullopt);

    /// Writes the file anew when it has grown far beyond its entries, without those that are `acted` and not
    /// `isNeeded`, which are forgotten. After an error the old file goes on.
    [[nodiscard]] std::optional<Error> compact(const std::function<bool(const FiredEntry&)>& isNeeded);

    /// How often it has waited for the disk.
    [[nodiscard]] std::size_t syncCount() const noexcept { return syncCount_; }

private:
    FiredLedger(std::filesystem::path file, Date beginning) : file_(std::move(file)), beginning_(beginning) {}

    [[nodiscard]] std::optional<Error> read(const std::function<void(const std::string&)>& reports);
    void remember(FiredEntry entry);
    /// What is shown under the handles of `entries` and is none of them.
    [[nodiscard]] Entries namesakes(const Entries& entries) const;
    [[nodiscard]] std::optional<Error> append(const std::string& text);
    [[nodiscard]] std::string wholeText() const;

    const std::filesystem::path file_;
    /// Of the file; -1 while it is not open.
    int descriptor_ = -1;
    Date beginning_;
    std::optional<Date> lastCheck_;
    std::unordered_map<std::string, Entries> entries_;
    std::size_t count_ = 0;
    /// The ids with an entry that is not acted.
    std::unordered_set<std::string> open_;
    /// The ids of what is shown under each handle.
    std::unordered_map<std::string, std::unordered_set<std::string>> handles_;
    /// Lines that could not be written.
    std::string unwritten_;
    /// How much of the file is sound, and how many lines that are.
    std::size_t size_ = 0;
    std::size_t lineCount_ = 0;
    std::size_t syncCount_ = 0;
};

}  // namespace quendokit
