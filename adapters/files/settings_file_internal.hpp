#pragma once
/// \file
/// A file of settings as the file system sees it: reading, replacing as a whole, the lock beside it.

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "adapters/files/file_operations_internal.hpp"
#include "quendokit/platform/error.hpp"

namespace quendokit::files {

/// An open file, closed with its owner. An advisory lock on it ends then, too.
class OpenFile {
public:
    OpenFile(int descriptor, std::shared_ptr<FileOperations> operations);
    OpenFile(OpenFile&& other) noexcept;
    OpenFile& operator=(OpenFile&&) = delete;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile();

    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

private:
    int descriptor_;
    std::shared_ptr<FileOperations> operations_;
};

/// One thread at a time.
class SettingsFile {
public:
    SettingsFile(std::filesystem::path file, std::shared_ptr<FileOperations> operations);

    /// What stands in the file; absent when there is none. Stops at one byte more than a file of settings may have.
    /// Refuses a symbolic link, what is no regular file, and another user's file. `tighten` takes away other users'
    /// rights to it.
    [[nodiscard]] Result<std::optional<std::string>> read(bool tighten) const;
    /// What stood in it before it was last replaced.
    [[nodiscard]] Result<std::optional<std::string>> readBackup() const;

    /// Waits until no other process is at work on the file and keeps others from it. Makes the folder when there is
    /// none.
    [[nodiscard]] Result<OpenFile> lock(std::chrono::milliseconds patience) const;

    /// Puts `text` in place of what is there, durably; `previous`, if any, becomes the backup. When it fails the file
    /// holds the old text or the new one. Under the lock.
    [[nodiscard]] std::optional<Error> replace(const std::string& text,
                                               const std::optional<std::string>& previous) const;

    /// The same for a file that is damaged: it keeps another name, which is answered and was nobody's before, and the
    /// backup stays what it is. Under the lock.
    [[nodiscard]] Result<std::filesystem::path> replaceDamaged(const std::string& text) const;

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return file_; }

private:
    [[nodiscard]] std::filesystem::path beside(const char* suffix) const;
    [[nodiscard]] Result<std::optional<std::string>> readAt(const std::filesystem::path& path, bool tighten) const;
    [[nodiscard]] std::optional<Error> makeFolder(const std::filesystem::path& folder) const;
    [[nodiscard]] std::optional<Error> writeNew(const std::filesystem::path& path, const std::string& text,
                                                bool durably) const;
    [[nodiscard]] std::optional<Error> writeAll(int descriptor, const std::string& text,
                                                const std::filesystem::path& path) const;
    [[nodiscard]] Result<std::filesystem::path> moveAside() const;
    [[nodiscard]] std::optional<Error> rename(const std::filesystem::path& from, const std::filesystem::path& to) const;
    [[nodiscard]] std::optional<Error> syncFolder() const;
    void removeNew() const;

    const std::filesystem::path file_;
    const std::shared_ptr<FileOperations> operations_;
};

}  // namespace quendokit::files
