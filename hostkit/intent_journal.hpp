#pragma once
/// \file
/// `IntentJournal`, a file that remembers what was begun until it is done.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"

namespace quendokit {

/// A change that takes two steps is noted here before the first and settled after the last, so that the next start can
/// finish what a crash or a power failure left half done. Needs POSIX files. One process at a time, one thread.
///
/// The errors' domain is "IntentJournal", their code is that of `errno`.
class QUENDOKIT_EXPORT IntentJournal {
public:
    /// Opens `file`, or makes it (0600) in a folder that exists. Refuses a symbolic link and what is no regular file.
    [[nodiscard]] static Result<std::unique_ptr<IntentJournal>> open(const std::filesystem::path& file);

    IntentJournal(const IntentJournal&) = delete;
    IntentJournal& operator=(const IntentJournal&) = delete;
    ~IntentJournal();

    /// What earlier processes noted and did not settle, in its order. A line that a crash cut off is not among them:
    /// nothing was done for it yet.
    [[nodiscard]] const std::vector<std::string>& leftovers() const noexcept { return leftovers_; }

    /// Notes one intent, of any bytes but line feeds. It is on the disk when this returns without an error. Fatal if
    /// there is a line feed in it.
    [[nodiscard]] std::optional<Error> note(std::string_view intent);

    /// Forgets everything that was noted, on the disk too when this returns without an error.
    [[nodiscard]] std::optional<Error> settle();

private:
    IntentJournal(std::filesystem::path file, int descriptor);

    [[nodiscard]] std::optional<Error> read();
    [[nodiscard]] Error errorOf(int number, const char* doing) const;

    const std::filesystem::path file_;
    const int descriptor_;
    std::vector<std::string> leftovers_;
};

}  // namespace quendokit
