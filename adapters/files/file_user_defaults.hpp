#pragma once
/// \file
/// `FileUserDefaults`, settings in one JSON file.

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "quendokit/platform/error.hpp"
#include "quendokit/platform/export.hpp"
#include "quendokit/platform/user_defaults.hpp"

namespace quendokit {

namespace files {
class FileOperations;
}

inline constexpr std::string_view fileUserDefaultsErrorDomain = "FileUserDefaults";

/// `Error::code` of errors whose domain is `fileUserDefaultsErrorDomain`.
enum class FileUserDefaultsErrorCode {
    /// Input or output failed.
    unavailable = 1,
    /// The file did not hold settings. It was put aside, if that was possible, and the backup took its place.
    damaged,
    /// Another process was at work on the file for longer than this one waits.
    locked,
    /// No room is left on the disk.
    full,
    /// The file is a symbolic link or somebody else's, or may not be read or written.
    notPermitted,
    /// A key or value that the file cannot hold.
    invalidValue,
};

/// How the settings are kept. Plain value.
struct FileUserDefaultsOptions {
    /// The file. Its folder is made (0700) by the first write. Beside it stand the same name with ".backup" (what the
    /// file held before the last write), ".lock" and, for a moment, ".new" and ".backup.new".
    std::filesystem::path file;
    /// How long a write waits for one of another process to end. After a wait in vain the next ones do not wait, until
    /// one has succeeded: who changes nine settings in a row waits once.
    std::chrono::milliseconds lockTimeout = std::chrono::seconds(5);
    /// Hears of what could not be read or kept, on the thread of the operation, before that returns. May be empty. It
    /// may read the settings, and must not change them.
    std::function<void(const Error&)> onFailure = nullptr;
    /// For tests: what makes the system calls. Null for the system itself..
    std::shared_ptr<files::FileOperations> operations = nullptr;
};

/// Settings in memory and in one file, which belongs to one user (mode 0600; a laxer mode is tightened).
///
/// A read takes no look at the file and, but for texts and bytes, no memory. A write is durable when it returns: it
/// takes a lock, reads the file, changes its own keys in it, and replaces it as a whole, so that a crash leaves the old
/// content or the new one, and two processes do not undo each other's changes. A write also takes over what other
/// processes have written; `reload` does so without one. Setting what is there already, or removing what is not, leaves
/// the file as it is.
///
/// What could not be written is told to `onFailure`, is still answered, and is written with the next write or `reload`.
///
/// The file is one JSON object. An integer is a number without fraction or exponent, a double one with; bytes are
/// `{"data": "base64"}`; a text that is not UTF-8 is `{"text": "base64"}`; a double that is not finite is
/// `{"number": "nan"}`, "infinity" or "-infinity". Anything else (null, a list, another object, an integer over 64
/// bits) reads as absent and stays in the file, letter by letter, until its key is set or removed. A key that is not
/// UTF-8 cannot be kept; the whole file is at most 4 MB and nested at most 32 deep.
///
/// No file means no settings. A file that is no such object is renamed to ".damaged-1" (-2, -3 … if there is one),
/// never removed, and the backup takes its place. A file that is a symbolic link or another user's is refused: then
/// there are no settings, and none is kept.
class QUENDOKIT_EXPORT FileUserDefaults final : public UserDefaults {
public:
    /// Reads the file.
    explicit FileUserDefaults(FileUserDefaultsOptions options);
    ~FileUserDefaults() override;

    [[nodiscard]] std::optional<PropertyValue> object(std::string_view key) const override;
    void set(std::string_view key, PropertyValue value) override;
    void remove(std::string_view key) override;

    /// Takes over what other processes have written, and writes what could not be written so far. Any thread.
    void reload();

    /// Looks over `file` and changes nothing. Says what is wrong with it; absent when nothing is, or there is no file.
    [[nodiscard]] static std::optional<Error> examine(const std::filesystem::path& file);

private:
    class State;
    const std::unique_ptr<State> state_;
};

}  // namespace quendokit
