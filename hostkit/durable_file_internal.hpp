#pragma once
/// \file
/// Files of lines that a crash or a power failure cannot turn into something else.

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quendokit/platform/error.hpp"

namespace quendokit {

/// A file of this person's alone. Its errors name it: "FILE: the WHAT cannot be opened (…); …".
struct OwnFile {
    std::filesystem::path path;
    /// The domain of its errors, whose code is that of `errno`.
    const char* domain;
    /// What it is to a person, as "journal".
    const char* what;

    /// Opens it with `flags`; a new one is 0600, one that others may read is closed to them. Refuses a symbolic link
    /// and what is no regular file. The caller closes the descriptor.
    [[nodiscard]] Result<int> open(int flags) const;
    /// Everything from where `descriptor` stands.
    [[nodiscard]] Result<std::string> read(int descriptor) const;
    /// Puts `text` in its place: after a crash it holds the old text or the new one.
    [[nodiscard]] std::optional<Error> replace(std::string_view text) const;

    [[nodiscard]] Error error(int number, const char* doing) const;
};

/// Closes it at the end.
class OpenFile {
public:
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile();

    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

private:
    const int descriptor_;
};

/// Stored format: FNV-1a of the text in sixteen hexadecimal digits, a blank, the text, a line feed. There is no line
/// feed in `text`.
[[nodiscard]] std::string checkedLine(std::string_view text);

/// What a file of checked lines holds.
struct CheckedLines {
    /// The texts of those whose sum is right, in their order.
    std::vector<std::string> texts;
    /// How many others there are.
    std::size_t damagedCount = 0;
    /// Behind that many bytes is a line that was cut off.
    std::size_t wholeSize = 0;
};
[[nodiscard]] CheckedLines checkedLines(std::string_view file);

/// Whether everything was written; else the reason is in `errno`.
[[nodiscard]] bool writeAll(int descriptor, std::string_view text);

/// The name of a new file is on the disk only when its folder is. Whether it is; else the reason is in `errno`.
[[nodiscard]] bool syncFolder(const std::filesystem::path& file);

}  // namespace quendokit
